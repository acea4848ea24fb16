#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <string_view>

namespace Oxa::Host::Http
{

class IHttpExchange;

/// The one place where an exception becomes an answer whose text does not tell the client anything from inside.
/// Threads: safe from any thread.
class FaultReport final : private System::Commons::Diagnostics::Logging::Loggable<FaultReport>
{
public:
    /// Logs the exception that is being handled under a new request id and answers 500 with that id.
    /// Requires: called inside a catch block. `subject` says in the log whose request failed.
    static void Answer(IHttpExchange& exchange, std::string_view subject);
};

} // namespace Oxa::Host::Http
