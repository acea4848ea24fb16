#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::System::Um
{
class UserManager;
struct UserChangeResult;
struct UserChanges;
} // namespace Oxa::System::Um

namespace Oxa::Host::Threads
{
class EventLoop;
}

namespace Oxa::Host::Sessions
{

struct Caller;
class SessionManager;

/// Lists and changes the users, for administrators. Changes are published, and sessions whose logins end with a change
/// end at once. Threads: changes on one at a time, since they wait for the disk and hash passwords not on the event
/// loop's.
class UserRoute final
{
public:
    /// Everything is borrowed.
    UserRoute(System::Um::UserManager& users, SessionManager& sessions, Threads::EventLoop& loop);
    UserRoute(const UserRoute&) = delete;
    UserRoute& operator=(const UserRoute&) = delete;

    [[nodiscard]] Http::Handling List(Http::IHttpExchange& exchange) const;
    [[nodiscard]] Http::Handling Add(Http::IHttpExchange& exchange, const Caller& caller);

    /// Role, password, and whether the user is disabled: all that the body names, or nothing.
    [[nodiscard]] Http::Handling Change(Http::IHttpExchange& exchange, const Caller& caller,
                                        const BasicString& userName);

    [[nodiscard]] Http::Handling Remove(Http::IHttpExchange& exchange, const Caller& caller,
                                        const BasicString& userName);

private:
    void PublishChange(Http::IHttpExchange& exchange, const Caller& caller, const System::Um::UserChangeResult& result,
                       const System::Um::UserChanges& changes);

    System::Um::UserManager& users;
    SessionManager& sessions;
    Threads::EventLoop& loop;
};

} // namespace Oxa::Host::Sessions
