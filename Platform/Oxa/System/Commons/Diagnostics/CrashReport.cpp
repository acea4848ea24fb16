#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"

#include "Oxa/System/Commons/Diagnostics/BoundedWrite.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace Oxa::System::Commons::Diagnostics
{

namespace
{

/// For the lines that were logged before, and for the report.
constexpr std::chrono::milliseconds writeLimit{100};

/// The records of the process, for a signal handler that must take no lock. It looks into a record only when its own
/// thread is in that record's call, so that the record cannot go meanwhile.
struct Slot
{
    std::atomic<const CallRecord*> record = nullptr;
    /// 0: no call is under way.
    std::atomic<pthread_t> thread = 0;
    std::atomic<const std::string_view*> request = nullptr;
};

constexpr std::size_t slotCount = 128;
/// The last one is shared by the records that are too many, and not reported.
std::array<Slot, slotCount + 1> slots;

std::atomic<bool> isJournal = false;

/// A text of limited length without control characters; makes nothing that needs memory.
class ReportText final
{
public:
    void Add(std::string_view text) noexcept
    {
        for (const char character : text)
        {
            if (size < characters.size() - 1)
            {
                characters[size++] = character < ' ' || character > '~' ? '?' : character;
            }
        }
    }

    [[nodiscard]] std::string_view Finish() noexcept
    {
        characters[size++] = '\n';
        return {characters.data(), size};
    }

private:
    std::array<char, 1024> characters;
    std::size_t size = 0;
};

void AddCall(ReportText& text) noexcept
{
    for (std::size_t index = 0; index < slotCount; ++index)
    {
        const Slot& slot = slots[index];
        if (slot.thread.load() == pthread_self())
        {
            text.Add(" in '");
            text.Add(*slot.request.load());
            text.Add("' of ");
            text.Add(slot.record.load()->GetSubject());
            return;
        }
    }
}

/// The signal's action is the default one by now. A fault happens again when this returns, and then leaves the core of
/// the place where it happened; a signal that was sent is sent again.
void Report(int number, siginfo_t* information, void* /*context*/) noexcept
{
    const int savedError = errno;
    ReportText text;
    text.Add(isJournal ? "<2>" : "");
    text.Add(program_invocation_short_name);
    text.Add(": SIG");
    text.Add(sigabbrev_np(number));
    AddCall(text);
    Logging::LogManager::WaitUntilWritten(writeLimit);
    WriteBounded(STDERR_FILENO, text.Finish(), writeLimit);
    errno = savedError;
    if (information->si_code <= 0)
    {
        raise(number);
    }
}

} // namespace

void InstallCrashReport() noexcept
{
    isJournal = IsJournalStream();
    struct sigaction action = {};
    action.sa_sigaction = Report;
    action.sa_flags = static_cast<int>(SA_SIGINFO | SA_RESETHAND | SA_NODEFER);
    for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT})
    {
        struct sigaction previous = {};
        // A sanitizer tells more.
        if (sigaction(number, nullptr, &previous) == 0 && previous.sa_handler == SIG_DFL)
        {
            sigaction(number, &action, nullptr);
        }
    }
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
