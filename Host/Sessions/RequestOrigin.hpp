#pragma once

namespace Oxa::Host::Http
{
struct HttpRequest;
}

namespace Oxa::Host::Sessions
{

/// Whether a browser says that a page of another site sends the request. Programs say nothing and are not foreign.
[[nodiscard]] bool IsForeign(const Http::HttpRequest& request);

} // namespace Oxa::Host::Sessions
