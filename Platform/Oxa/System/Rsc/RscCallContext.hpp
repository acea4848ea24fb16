#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <vector>

namespace Oxa::System::Rsc
{

/// The call of another process that a thread executes at the moment: who the caller is, and what is to follow the
/// response. Made by the server, or by a test in its place. Threads: only the one that makes it.
class OXA_EXPORT RscCallContext final
{
public:
    /// Becomes the calling thread's context until it is destroyed. `processId`: 0 when it is not known.
    RscCallContext(uint32 userId, int32 processId);
    RscCallContext(const RscCallContext&) = delete;
    RscCallContext& operator=(const RscCallContext&) = delete;
    ~RscCallContext();

    /// Null when the thread executes no call of another process: then the caller is the process itself.
    [[nodiscard]] static RscCallContext* TryGetCurrent() noexcept;

    /// For logs: "user 'oxa-wbm' (998), process 4711", without the process when that is not known; "this
    /// process" without a context.
    [[nodiscard]] static BasicString DescribeCaller();

    [[nodiscard]] uint32 GetUserId() const noexcept
    {
        return userId;
    }

    /// Runs on this thread when the response has been sent or could not be sent. May throw nothing.
    void RunAfterAnswer(std::function<void()> function);

    /// For the maker: runs these functions. Once.
    void RunAnswered() noexcept;

private:
    const uint32 userId;
    const int32 processId;
    RscCallContext* const outer;
    std::vector<std::function<void()>> answeredFunctions;
};

} // namespace Oxa::System::Rsc
