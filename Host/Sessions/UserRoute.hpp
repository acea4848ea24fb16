#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <string_view>

namespace Oxa::System::Um
{
class UserManager;
struct UserChangeResult;
struct UserChanges;
} // namespace Oxa::System::Um

namespace Oxa::Host::Http
{
class JsonBody;
}

namespace Oxa::Host::Threads
{
class EventLoop;
}

namespace Oxa::Host::Sessions
{

struct Caller;
class PasswordWorker;
class SessionManager;

/// Lists and changes the users, for administrators. Changes are published, and sessions whose logins end with a change
/// end at once. Threads: the event loop's.
class UserRoute final
{
public:
    using Exchange = std::shared_ptr<Http::IHttpExchange>;

    /// Everything is borrowed; the worker must end first.
    UserRoute(System::Um::UserManager& users, SessionManager& sessions, PasswordWorker& worker,
              Threads::EventLoop& loop);
    UserRoute(const UserRoute&) = delete;
    UserRoute& operator=(const UserRoute&) = delete;

    [[nodiscard]] Http::Handling List(Http::IHttpExchange& exchange) const;
    [[nodiscard]] Http::Handling Add(const Exchange& exchange, const Caller& caller);

    /// Role, password, and whether the user is disabled: all that the body names, or nothing.
    [[nodiscard]] Http::Handling Change(const Exchange& exchange, const Caller& caller, const BasicString& userName);

    [[nodiscard]] Http::Handling Remove(const Exchange& exchange, const Caller& caller, const BasicString& userName);

private:
    void AddNow(Http::IHttpExchange& exchange, const Caller& caller, const Http::JsonBody& body);
    void ChangeNow(Http::IHttpExchange& exchange, const Caller& caller, const BasicString& userName,
                   const System::Um::UserChanges& changes);
    void RemoveNow(Http::IHttpExchange& exchange, const Caller& caller, const BasicString& userName);
    void PublishChange(Http::IHttpExchange& exchange, const Caller& caller, const System::Um::UserChangeResult& result,
                       const System::Um::UserChanges& changes);

    System::Um::UserManager& users;
    SessionManager& sessions;
    PasswordWorker& worker;
    Threads::EventLoop& loop;
};

} // namespace Oxa::Host::Sessions
