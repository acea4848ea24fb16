#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host::Threads
{
class EventLoop;
}

namespace Oxa::Host::Sessions
{

struct Caller;
class SessionManager;

/// Lists, adds and removes the API tokens, with which programs send requests, for administrators. Changes are
/// published. Threads: changes on one at a time, since they wait for the disk not on the event loop's.
class ApiTokenRoute final
{
public:
    /// Everything is borrowed.
    ApiTokenRoute(System::Um::UserManager& users, SessionManager& sessions, Threads::EventLoop& loop);
    ApiTokenRoute(const ApiTokenRoute&) = delete;
    ApiTokenRoute& operator=(const ApiTokenRoute&) = delete;

    [[nodiscard]] Http::Handling List(Http::IHttpExchange& exchange) const;

    /// The response is the only one with the secret.
    [[nodiscard]] Http::Handling Add(Http::IHttpExchange& exchange, const Caller& caller);

    [[nodiscard]] Http::Handling Remove(Http::IHttpExchange& exchange, const Caller& caller, const BasicString& name);

private:
    System::Um::UserManager& users;
    SessionManager& sessions;
    Threads::EventLoop& loop;
};

} // namespace Oxa::Host::Sessions
