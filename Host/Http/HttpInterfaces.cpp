#include "Host/Http/IHttpExchange.hpp"
#include "Host/Http/IHttpHandler.hpp"

namespace Oxa::Host::Http
{

IHttpExchange::~IHttpExchange() = default;

IHttpHandler::~IHttpHandler() = default;

} // namespace Oxa::Host::Http
