#include "Host/Sessions/RequestOrigin.hpp"

#include "Host/Http/HttpExchange.hpp"

namespace Oxa::Host::Sessions
{

bool IsSaidToBeForeign(const Http::HttpRequest& request)
{
    if (!request.fetchSite.empty() && request.fetchSite != "same-origin" && request.fetchSite != "none")
    {
        return true;
    }
    if (request.origin.empty())
    {
        return false;
    }
    const std::size_t schemeEnd = request.origin.find("://");
    return schemeEnd == std::string_view::npos || request.host.empty() ||
           request.origin.substr(schemeEnd + 3) != request.host;
}

bool IsForeign(const Http::HttpRequest& request)
{
    const bool saysNothing = request.origin.empty() && request.fetchSite.empty();
    return saysNothing || IsSaidToBeForeign(request);
}

} // namespace Oxa::Host::Sessions
