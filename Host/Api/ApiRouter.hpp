#pragma once

#include "Host/Api/Operations.hpp"
#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>

namespace Oxa::System::Nm
{
class NotificationManager;
}

namespace Oxa::Host::Modules
{
class Dispatcher;
}

namespace Oxa::Host::Sessions
{
struct Caller;
class PasswordWorker;
class SessionManager;
} // namespace Oxa::Host::Sessions

namespace Oxa::Host::Api
{

/// A request that has passed the checks of its operation. Valid during the call of the handler; one that defers the
/// response copies what it needs.
struct ApiRequest
{
    const std::shared_ptr<Http::IHttpExchange>& exchange;
    /// Null only where access is open.
    const Sessions::Caller* caller = nullptr;
    /// The path's last segment where the operation has an argument: percent-decoded, valid UTF-8, not empty.
    BasicString argument = {};
};

using ApiHandler = std::function<Http::Handling(const ApiRequest&)>;

/// Finds the operation of a request in the table made from openapi.json and checks who sent it. In this order: unknown
/// path 404, method 405, no session 401, forged 403, password to be changed first 403, no permission 403, body without
/// the JSON media type 415; then the operation's handler responds. Requests to data providers come behind the fixed
/// paths; their methods and permissions are left to the dispatcher.
///
/// Writes of administrators change users or tokens: while the audit trail cannot be written they are refused with 503,
/// for the change would leave no trace. They run one after the other on the password worker, where who sent them is
/// checked again: changes that wait do not survive the end of their sender's rights.
///
/// Threads: `Set` before the first request, `Handle` on the event loop's. Handlers run on the event loop's, those of
/// administrators' writes on the worker's, and the latter complete their requests.
class ApiRouter final
{
public:
    /// References are borrowed.
    struct Parts
    {
        Sessions::SessionManager& sessions;
        const Modules::Dispatcher& dispatcher;
        System::Nm::NotificationManager& notifications;
        /// Must end first.
        Sessions::PasswordWorker& worker;
        /// Responds to the paths that are neither operations nor requests to data providers.
        Http::HttpHandler otherPaths;
    };

    explicit ApiRouter(Parts parts);

    /// Requires: once for each operation.
    void Set(Operation operation, ApiHandler handler);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange);

private:
    [[nodiscard]] Http::Handling HandleOperation(const std::shared_ptr<Http::IHttpExchange>& exchange,
                                                 const OperationInfo& info, std::string_view encodedArgument);
    [[nodiscard]] Http::Handling HandleProvider(const std::shared_ptr<Http::IHttpExchange>& exchange,
                                                std::string_view path);
    [[nodiscard]] std::optional<Sessions::Caller> AdmitTo(Http::IHttpExchange& exchange, const OperationInfo& info);
    [[nodiscard]] std::optional<Sessions::Caller> Admit(Http::IHttpExchange& exchange, Access access,
                                                        bool isBeforePasswordChange);
    [[nodiscard]] Http::Handling Call(const ApiRequest& request, const OperationInfo& info) const;
    void RefuseRights(Http::IHttpExchange& exchange, const BasicString& userName);

    const Parts parts;
    std::array<ApiHandler, std::size(operations)> handlers;
};

} // namespace Oxa::Host::Api
