#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string_view>

/// How a process reports on standard error why it ends.
namespace Oxa::System::Commons::Diagnostics
{

/// Waits for the lines that were logged before, then writes "{program}: {parts}" and a line end; for the journal with
/// `priority`, for instance "<3>", before it. Gives up when the log or the reader makes no progress for `limit`.
/// Threads: any; also inside signal handlers, once InstallCrashReport has returned.
OXA_EXPORT void WriteLastLine(std::string_view priority, std::initializer_list<std::string_view> parts,
                              std::chrono::milliseconds limit) noexcept;

/// From now on a signal that means a crash (SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT) is reported on standard error,
/// with the call that the thread was in by its `CallRecord`, before the process ends by it as it would without this.
/// Signals that already have a handler keep it. Once.
OXA_EXPORT void InstallCrashReport() noexcept;

/// From now on the reports of crashes also go to that file, for its owner only, so that the next process can tell of
/// them. Returns the first line that an earlier process left there, at most 512 bytes, and empties the file. Empty also
/// when the file cannot be used. Requires: InstallCrashReport has returned. Once.
[[nodiscard]] OXA_EXPORT BasicString KeepCrashReport(const BasicString& path);

/// Foreign code that the process calls, such as a module's data provider, and the call that is in progress.
/// Threads: constructed and destroyed on any; one call at a time.
class OXA_EXPORT CallRecord final
{
public:
    /// `subject` is what the report names, for instance "the data provider 'X' of the module 'Y'".
    explicit CallRecord(BasicString subject);
    CallRecord(const CallRecord&) = delete;
    CallRecord& operator=(const CallRecord&) = delete;
    ~CallRecord();

    /// Spans a call on this thread; costs three stores. `request` is borrowed.
    class OXA_EXPORT Scope final
    {
    public:
        Scope(CallRecord& record, const std::string_view& request) noexcept;
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope();

    private:
        CallRecord& record;
    };

    [[nodiscard]] const BasicString& GetSubject() const noexcept
    {
        return subject;
    }

private:
    const BasicString subject;
    /// Index among the process's records; the last, shared one when there are too many.
    std::size_t slot = 0;
};

} // namespace Oxa::System::Commons::Diagnostics
