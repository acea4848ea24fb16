#pragma once

#include "Oxa/System/Rsc/Internal/ServerCall.hpp"

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

class MessageStream;

/// Who calls on a message bus: asks the bus, once for each caller, and keeps the calls meanwhile. The bus never gives
/// the unique name of a caller to another one. Owned by the connection; everything under its lock.
class ServerCallers final
{
public:
    /// Takes a call whose user is known now; none when nobody knows him.
    using AdmitFunction = std::function<void(ServerCall call, std::optional<uint32> userId)>;

    explicit ServerCallers(AdmitFunction admit);
    ServerCallers(const ServerCallers&) = delete;
    ServerCallers& operator=(const ServerCallers&) = delete;
    ~ServerCallers();

    /// Hands the call on at once or when the bus has answered.
    void Identify(MessageStream& stream, ServerCall call);

    /// Lets go of the calls whose users are not known yet.
    void Clear() noexcept;

private:
    struct Caller
    {
        ServerCallers& callers;
        MessageStream& stream;
        bool isKnown = false;
        std::optional<uint32> userId;
        std::vector<ServerCall> waiting;
    };

    static int OnAnswer(sd_bus_message* answer, void* caller, sd_bus_error* error) noexcept;
    void Settle(Caller& caller, sd_bus_message& answer);
    [[nodiscard]] static bool Ask(Caller& caller, const BasicString& name);
    void ForgetSome();

    const AdmitFunction admit;
    std::map<BasicString, Caller, std::less<>> known;
};

} // namespace Oxa::System::Rsc::Internal
