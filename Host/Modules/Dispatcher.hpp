#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Oxa::System::Nm
{
class NotificationManager;
enum class NotificationKind : uint16;
} // namespace Oxa::System::Nm

namespace Oxa::Services::Commons::Wbm
{
class WbmResponse;
}

namespace Oxa::Host::Http
{
struct Problem;
}

namespace Oxa::Host::Modules
{

class ModuleRegistry;
struct DataProvider;

/// A request to a data provider, by a user who is logged in.
struct ProviderRequest
{
    BasicString providerName;
    BasicString requestName;
    System::Um::SecurityToken securityToken;
    BasicString userName;
    /// Whether the user has confirmed with the password that the next command is meant. Empty: never.
    std::function<bool()> hasConfirmation = {};
    /// The same; true once for each confirmation.
    std::function<bool()> takeConfirmation = {};
};

/// Passes requests to the data providers and sends their responses. In this order: unknown provider 404, method 405,
/// module's gate closed or provider unavailable 503, no permission 403, unknown request 404, no confirmation although
/// the module's manifest demands one 403, then the module's own response. Requests to a provider that is not safe are
/// commands: each is published before it is carried out and then with its outcome, and refused with 503 while the audit
/// trail cannot store that, with 429 when too many commands of the user have failed. Threads: the event loop's.
class Dispatcher final
{
public:
    /// What the audit trail can take.
    struct AuditState
    {
        /// Whether what was published last is on the disk.
        std::function<bool()> isWritable;
        /// Whether a command of this user may fail without displacing other rows.
        std::function<bool(const BasicString&)> admitsFailureOf;
    };

    Dispatcher(ModuleRegistry& registry, System::Nm::NotificationManager& notifications, AuditState audit);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange,
                                        ProviderRequest request) const;

private:
    using Fields = std::vector<std::pair<BasicString, BasicString>>;

    void Call(Http::IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request) const;
    [[nodiscard]] const Http::Problem* Announce(Http::IHttpExchange& exchange, const ProviderRequest& request) const;
    void Refuse(Http::IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request,
                const Http::Problem& problem) const;
    [[nodiscard]] Services::Commons::Wbm::WbmResponse
    Execute(Http::IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request) const;
    void Publish(System::Nm::NotificationKind kind, Http::IHttpExchange& exchange, const ProviderRequest& request,
                 Fields details) const;

    ModuleRegistry& registry;
    System::Nm::NotificationManager& notifications;
    const AuditState audit;
};

} // namespace Oxa::Host::Modules
