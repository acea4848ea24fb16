#pragma once

namespace Oxa::Host::Http
{
class IHttpExchange;
}

namespace Oxa::Host::Status
{

/// Tells the boot id of the run that the device services belong to, without a log-in, so that a page can tell a restart
/// from a short outage. Threads: safe from any thread.
void AnswerBootId(Http::IHttpExchange& exchange);

} // namespace Oxa::Host::Status
