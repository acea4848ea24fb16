#include "Host/Http/FaultReport.hpp"

#include "Host/Http/Problem.hpp"
#include "Oxa/System/Commons/Exception.hpp"

#include <sodium.h>

namespace Oxa::Host::Http
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// Not guessable, unique enough to find one line in a log.
BasicString CreateRequestId()
{
    return System::Commons::Text::Format("{0:08x}{1:08x}", randombytes_random(), randombytes_random());
}

} // namespace

void FaultReport::Answer(IHttpExchange& exchange, std::string_view subject)
{
    const BasicString requestId = CreateRequestId();
    FaultReport().Log(LogLevel::Error, "request {0} of {1} failed: {2}", requestId, subject,
                      System::Commons::DescribeCurrentException());
    SendProblem(exchange, Problems::internalError, requestId);
}

} // namespace Oxa::Host::Http
