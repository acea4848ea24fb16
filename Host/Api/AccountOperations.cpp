#include "Host/Api/AccountOperations.hpp"

#include "Host/Api/ApiRouter.hpp"
#include "Host/Sessions/ApiTokenRoute.hpp"
#include "Host/Sessions/PasswordRoute.hpp"
#include "Host/Sessions/SessionRoute.hpp"
#include "Host/Sessions/UserRoute.hpp"

namespace Oxa::Host::Api
{

namespace
{

void SetSessionOperations(ApiRouter& router, Sessions::PasswordRoute& passwords, Sessions::SessionRoute& sessions)
{
    router.Set(Operation::LogIn, [&passwords](const ApiRequest& each) { return passwords.LogIn(each.exchange); });
    router.Set(Operation::GetSession,
               [&sessions](const ApiRequest& each) { return sessions.SendSession(*each.exchange, *each.caller); });
    router.Set(Operation::LogOut,
               [&sessions](const ApiRequest& each) { return sessions.LogOut(*each.exchange, *each.caller); });
    router.Set(Operation::ChangePassword,
               [&passwords](const ApiRequest& each) { return passwords.ChangePassword(each.exchange, *each.caller); });
    router.Set(Operation::ConfirmPassword,
               [&passwords](const ApiRequest& each) { return passwords.Confirm(each.exchange, *each.caller); });
    router.Set(Operation::ListSessions,
               [&sessions](const ApiRequest& each) { return sessions.List(*each.exchange, *each.caller); });
    router.Set(Operation::EndSession, [&sessions](const ApiRequest& each)
               { return sessions.End(*each.exchange, *each.caller, each.argument); });
}

void SetUserOperations(ApiRouter& router, Sessions::UserRoute& users)
{
    router.Set(Operation::ListUsers, [&users](const ApiRequest& each) { return users.List(*each.exchange); });
    router.Set(Operation::AddUser,
               [&users](const ApiRequest& each) { return users.Add(*each.exchange, *each.caller); });
    router.Set(Operation::ChangeUser,
               [&users](const ApiRequest& each) { return users.Change(*each.exchange, *each.caller, each.argument); });
    router.Set(Operation::RemoveUser,
               [&users](const ApiRequest& each) { return users.Remove(*each.exchange, *each.caller, each.argument); });
}

void SetApiTokenOperations(ApiRouter& router, Sessions::ApiTokenRoute& apiTokens)
{
    router.Set(Operation::ListApiTokens,
               [&apiTokens](const ApiRequest& each) { return apiTokens.List(*each.exchange); });
    router.Set(Operation::AddApiToken,
               [&apiTokens](const ApiRequest& each) { return apiTokens.Add(*each.exchange, *each.caller); });
    router.Set(Operation::RemoveApiToken, [&apiTokens](const ApiRequest& each)
               { return apiTokens.Remove(*each.exchange, *each.caller, each.argument); });
}

} // namespace

void SetAccountOperations(ApiRouter& router, const AccountRoutes& routes)
{
    SetSessionOperations(router, routes.passwords, routes.sessions);
    SetUserOperations(router, routes.users);
    SetApiTokenOperations(router, routes.apiTokens);
}

} // namespace Oxa::Host::Api
