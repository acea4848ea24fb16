#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Sessions/SessionManager.hpp"

#include <string_view>

namespace Oxa::Host::Sessions
{

/// Sends the caller's session, lists and ends sessions. Threads: the event loop's.
class SessionRoute final
{
public:
    explicit SessionRoute(SessionManager& sessions);

    [[nodiscard]] Http::Handling SendSession(Http::IHttpExchange& exchange, const Caller& caller) const;
    [[nodiscard]] Http::Handling LogOut(Http::IHttpExchange& exchange, const Caller& caller);

    /// The caller's own; for the query "all=true" those of all users, which requires an administrator.
    [[nodiscard]] Http::Handling List(Http::IHttpExchange& exchange, const Caller& caller);

    /// One of the caller's own; an administrator ends any. `id`: as in the list.
    [[nodiscard]] Http::Handling End(Http::IHttpExchange& exchange, const Caller& caller, std::string_view id);

private:
    SessionManager& sessions;
};

} // namespace Oxa::Host::Sessions
