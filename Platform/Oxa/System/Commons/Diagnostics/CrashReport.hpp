#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <string_view>

namespace Oxa::System::Commons::Diagnostics
{

/// From now on a signal that means a crash (SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT) is told on standard error, with
/// what the thread was doing by its `CallRecord`, before the process ends by it as it would without this. Signals that
/// have a handler already keep it. Once.
OXA_EXPORT void InstallCrashReport() noexcept;

/// One party whose code the process calls, such as a module's data provider, and the call that is under way.
/// Threads: made and destroyed on any; one call at a time.
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
    /// Among the process's records; there is none for it when too many are there.
    std::size_t slot = 0;
};

} // namespace Oxa::System::Commons::Diagnostics
