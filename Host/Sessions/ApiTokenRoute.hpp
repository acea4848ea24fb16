#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::System::Um
{
class UserManager;
}

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

/// Lists, adds and removes the API tokens, with which programs send requests, for administrators. Changes are
/// published. Threads: the event loop's.
class ApiTokenRoute final
{
public:
    using Exchange = std::shared_ptr<Http::IHttpExchange>;

    /// Everything is borrowed; the worker must end first.
    ApiTokenRoute(System::Um::UserManager& users, SessionManager& sessions, PasswordWorker& worker,
                  Threads::EventLoop& loop);
    ApiTokenRoute(const ApiTokenRoute&) = delete;
    ApiTokenRoute& operator=(const ApiTokenRoute&) = delete;

    [[nodiscard]] Http::Handling List(Http::IHttpExchange& exchange) const;

    /// The response is the only one with the secret.
    [[nodiscard]] Http::Handling Add(const Exchange& exchange, const Caller& caller);

    [[nodiscard]] Http::Handling Remove(const Exchange& exchange, const Caller& caller, const BasicString& name);

private:
    void AddNow(Http::IHttpExchange& exchange, const Caller& caller, const Http::JsonBody& body);
    void RemoveNow(Http::IHttpExchange& exchange, const Caller& caller, const BasicString& name);

    System::Um::UserManager& users;
    SessionManager& sessions;
    PasswordWorker& worker;
    Threads::EventLoop& loop;
};

} // namespace Oxa::Host::Sessions
