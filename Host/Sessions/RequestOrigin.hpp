#pragma once

namespace Oxa::Host::Http
{
struct HttpRequest;
}

namespace Oxa::Host::Sessions
{

/// Whether a browser says that a page of another site sends the request. Programs say nothing.
[[nodiscard]] bool IsSaidToBeForeign(const Http::HttpRequest& request);

/// For requests that change something by a session which the browser added on its own: the same, but who says nothing
/// is foreign as well. Every browser names the origin of such a request.
[[nodiscard]] bool IsForeign(const Http::HttpRequest& request);

} // namespace Oxa::Host::Sessions
