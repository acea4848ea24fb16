#include "Oxa/System/Rsc/Internal/ServerCallers.hpp"

#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/MessageStream.hpp"

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

constexpr std::size_t maximumKnown = 256;

std::optional<uint32> ReadUserId(sd_bus_message& answer) noexcept
{
    uint32 userId = 0;
    if (sd_bus_message_is_method_error(&answer, nullptr) > 0 || sd_bus_message_read_basic(&answer, 'u', &userId) <= 0)
    {
        return std::nullopt;
    }
    return userId;
}

} // namespace

ServerCallers::ServerCallers(AdmitFunction admit) : admit(std::move(admit)) {}

ServerCallers::~ServerCallers() = default;

void ServerCallers::Identify(MessageStream& stream, ServerCall call)
{
    const char* const sender = sd_bus_message_get_sender(call.request.get());
    if (sender == nullptr)
    {
        admit(std::move(call), std::nullopt);
        return;
    }
    auto found = known.find(std::string_view(sender));
    if (found == known.end())
    {
        ForgetSome();
        found = known.try_emplace(sender, Caller{*this, stream, false, std::nullopt, {}}).first;
        if (!Ask(found->second, found->first))
        {
            known.erase(found);
            admit(std::move(call), std::nullopt);
            return;
        }
    }
    Caller& caller = found->second;
    if (caller.isKnown)
    {
        admit(std::move(call), caller.userId);
        return;
    }
    caller.waiting.push_back(std::move(call));
}

void ServerCallers::Clear() noexcept
{
    known.clear();
}

int ServerCallers::OnAnswer(sd_bus_message* answer, void* caller, sd_bus_error* /*error*/) noexcept
{
    auto& asked = *static_cast<Caller*>(caller);
    asked.stream.NoteMessage();
    try
    {
        asked.callers.Settle(asked, *answer);
        return 1;
    }
    catch (...)
    {
        return -ENOMEM;
    }
}

void ServerCallers::Settle(Caller& caller, sd_bus_message& answer)
{
    caller.userId = ReadUserId(answer);
    caller.isKnown = true;
    for (ServerCall& call : std::exchange(caller.waiting, {}))
    {
        admit(std::move(call), caller.userId);
    }
}

bool ServerCallers::Ask(Caller& caller, const BasicString& name)
{
    return sd_bus_call_method_async(&caller.stream.GetBus(), nullptr, busDaemonName, busDaemonPath, busDaemonInterface,
                                    "GetConnectionUnixUser", &OnAnswer, &caller, "s", name.c_str()) >= 0;
}

/// Callers about whom the bus is being asked stay. There are at most as many of them as calls under way.
void ServerCallers::ForgetSome()
{
    if (known.size() >= maximumKnown)
    {
        std::erase_if(known, [](const auto& entry) { return entry.second.isKnown; });
    }
}

} // namespace Oxa::System::Rsc::Internal
