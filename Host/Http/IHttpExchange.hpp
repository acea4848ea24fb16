#pragma once

#include "Host/Http/HttpAnswer.hpp"
#include "Host/Http/HttpRequest.hpp"

#include <string_view>

namespace Oxa::Host::Http
{

/// One request and its answer. One thread at a time; whoever defers the answer hands it from thread to thread.
class IHttpExchange
{
public:
    virtual ~IHttpExchange();

    [[nodiscard]] virtual const HttpRequest& GetRequest() const noexcept = 0;

    /// The IP address that the request came from, of a proxy perhaps. Empty when the client is gone.
    [[nodiscard]] virtual BasicString GetClientAddress() const = 0;

    /// Once per request. Keeps nothing of what it is passed.
    virtual void Send(const HttpAnswer& answer, std::string_view body) = 0;

    /// After `Send`, when the handler had returned `Deferred`: lets the answer go. On a thread of the event loop; the
    /// exchange must not be used afterwards.
    virtual void Resume() = 0;
};

} // namespace Oxa::Host::Http
