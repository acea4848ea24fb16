#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <vector>

namespace Oxa::System::Rsc
{

namespace Internal
{
class CallContextScope;
}

/// The call out of another process that a thread carries out at the moment: who asked, and what is to happen to the
/// answer. Owned by the server. Threads: only the one that carries out the call.
class OXA_EXPORT RscCallContext final
{
public:
    RscCallContext(const RscCallContext&) = delete;
    RscCallContext& operator=(const RscCallContext&) = delete;

    /// Null when the thread carries out no call of another process: then the caller is the process itself.
    [[nodiscard]] static RscCallContext* TryGetCurrent() noexcept;

    /// For logs: "user 'oxa-wbm' (998), process 4711", without the process when that is not known; "this
    /// process" without a context.
    [[nodiscard]] static BasicString DescribeCaller();

    [[nodiscard]] uint32 GetUserId() const noexcept;

    /// Runs on this thread when the answer has been sent or could not be sent. May throw nothing.
    void RunAfterAnswer(std::function<void()> function);

    /// Makes the server close the connection instead of answering: for simulated faults.
    void DropConnection() noexcept;

private:
    friend class Internal::CallContextScope;

    /// Becomes the calling thread's context until it is destroyed. `processId`: 0 when it is not known.
    RscCallContext(uint32 userId, int32 processId);
    ~RscCallContext();

    [[nodiscard]] bool IsDropped() const noexcept;
    void RunAnswered() noexcept;

    const uint32 userId;
    const int32 processId;
    RscCallContext* const previous;
    bool isDropped = false;
    std::vector<std::function<void()>> answeredFunctions;
};

} // namespace Oxa::System::Rsc
