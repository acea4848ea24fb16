#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"

#include "Oxa/System/Commons/Diagnostics/BoundedWrite.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

// The signal handler reads the records without a lock. Each has a slot that its constructor takes by exchanging a null
// pointer; the handler uses a slot only if its own thread is in that record's call, so that the record cannot be
// destroyed meanwhile.

namespace Oxa::System::Commons::Diagnostics
{

namespace
{

struct Slot
{
    std::atomic<const CallRecord*> record = nullptr;
    /// 0: no call is in progress.
    std::atomic<pthread_t> thread = 0;
    std::atomic<const std::string_view*> request = nullptr;
};

constexpr std::size_t slotCount = 128;
/// The last one is shared by the records beyond the count, and not reported.
std::array<Slot, slotCount + 1> slots;

std::atomic<bool> isJournal = false;
/// Open until the process ends; -1: none.
std::atomic<int> reportFile = -1;

void WriteReport(std::initializer_list<std::string_view> parts) noexcept
{
    if (const int file = reportFile; file >= 0)
    {
        for (const std::string_view part : parts)
        {
            if (write(file, part.data(), part.size()) < 0)
            {
                break;
            }
        }
    }
    WriteLastLine("<2>", parts, std::chrono::milliseconds(100));
}

/// The signal's action is the default one by now. A fault happens again when this returns, and then leaves a core dump
/// of the place where it happened; a signal that was sent is sent again.
void Report(int number, siginfo_t* information, void* /*context*/) noexcept
{
    const int savedError = errno;
    const auto slot = std::find_if(slots.begin(), slots.end() - 1,
                                   [](const Slot& each) { return each.thread.load() == pthread_self(); });
    if (slot == slots.end() - 1)
    {
        WriteReport({"SIG", sigabbrev_np(number)});
    }
    else
    {
        WriteReport(
            {"SIG", sigabbrev_np(number), " in '", *slot->request.load(), "' of ", slot->record.load()->GetSubject()});
    }
    errno = savedError;
    if (information->si_code <= 0)
    {
        raise(number);
    }
}

} // namespace

void WriteLastLine(std::string_view priority, std::initializer_list<std::string_view> parts,
                   std::chrono::milliseconds limit) noexcept
{
    Logging::LogManager::WaitUntilWritten(limit);
    const auto write = [limit](std::string_view text)
    {
        return WriteBounded(STDERR_FILENO, text, limit);
    };
    if (write(isJournal ? priority : "") && write(program_invocation_short_name) && write(": "))
    {
        std::all_of(parts.begin(), parts.end(), write) && write("\n");
    }
}

void InstallCrashReport() noexcept
{
    isJournal = IsJournalStream();
    struct sigaction action = {};
    action.sa_sigaction = Report;
    action.sa_flags = static_cast<int>(SA_SIGINFO | SA_RESETHAND | SA_NODEFER);
    for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT})
    {
        struct sigaction previous = {};
        // A sanitizer's own handler reports more.
        if (sigaction(number, nullptr, &previous) == 0 && previous.sa_handler == SIG_DFL)
        {
            sigaction(number, &action, nullptr);
        }
    }
}

BasicString KeepCrashReport(const BasicString& path)
{
    constexpr std::size_t maximumBytes = 512;
    FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    BasicString report(maximumBytes, '\0');
    const ssize_t count = file.IsOpen() ? pread(file.Get(), report.data(), report.size(), 0) : 0;
    report.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (!file.IsOpen() || ftruncate(file.Get(), 0) != 0)
    {
        return {};
    }
    reportFile = file.Release();
    return report.substr(0, report.find('\n'));
}

CallRecord::CallRecord(BasicString subject) : subject(std::move(subject))
{
    const CallRecord* none = nullptr;
    while (slot < slotCount && !slots[slot].record.compare_exchange_strong(none, this))
    {
        none = nullptr;
        ++slot;
    }
}

CallRecord::~CallRecord()
{
    slots[slot].record = nullptr;
}

CallRecord::Scope::Scope(CallRecord& record, const std::string_view& request) noexcept : record(record)
{
    slots[record.slot].request.store(&request, std::memory_order_relaxed);
    slots[record.slot].thread.store(pthread_self(), std::memory_order_release);
}

CallRecord::Scope::~Scope()
{
    slots[record.slot].thread.store(0, std::memory_order_relaxed);
}

} // namespace Oxa::System::Commons::Diagnostics
