#pragma once

namespace Oxa::Host::Sessions
{
class ApiTokenRoute;
class PasswordRoute;
class SessionRoute;
class UserRoute;
} // namespace Oxa::Host::Sessions

namespace Oxa::Host::Api
{

class ApiRouter;

/// The routes of sessions, users and API tokens. Borrowed.
struct AccountRoutes
{
    Sessions::PasswordRoute& passwords;
    Sessions::SessionRoute& sessions;
    Sessions::UserRoute& users;
    Sessions::ApiTokenRoute& apiTokens;
};

/// Lets the router pass their operations to the routes.
void SetAccountOperations(ApiRouter& router, const AccountRoutes& routes);

} // namespace Oxa::Host::Api
