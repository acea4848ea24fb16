#pragma once

#include "Oxa/System/Rsc/RscCallContext.hpp"

namespace Oxa::System::Rsc::Internal
{

/// Gives the calling thread a call context until it is destroyed: what the server does with RscCallContext and services
/// must not do. Owned by whoever carries out the call: the server, or a test in its place.
/// Threads: only the one that makes it.
class CallContextScope final
{
public:
    /// `processId`: 0 when it is not known.
    CallContextScope(uint32 userId, int32 processId) : context(userId, processId) {}

    CallContextScope(const CallContextScope&) = delete;
    CallContextScope& operator=(const CallContextScope&) = delete;
    ~CallContextScope() = default;

    /// Whether the service wants the connection closed instead of an answer.
    [[nodiscard]] bool IsDropped() const noexcept
    {
        return context.IsDropped();
    }

    /// Must be called once when the answer has been sent or could not be sent: runs what the service left for then.
    void RunAnswered() noexcept
    {
        context.RunAnswered();
    }

private:
    RscCallContext context;
};

} // namespace Oxa::System::Rsc::Internal
