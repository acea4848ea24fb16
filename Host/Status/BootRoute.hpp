#pragma once

#include "Host/Http/IHttpHandler.hpp"
#include "Host/Http/RequestStrand.hpp"

#include <memory>

namespace Oxa::Host::Status
{

/// Tells the device's boot id to anybody, so that a page can tell a restart from a hiccup. Threads: the event loop's.
class BootRoute final
{
public:
    /// `strand` is where the device is asked.
    explicit BootRoute(Http::RequestStrand& strand);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const;

private:
    Http::RequestStrand& strand;
};

} // namespace Oxa::Host::Status
