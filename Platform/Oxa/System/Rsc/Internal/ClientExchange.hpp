#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <chrono>

namespace Oxa::System::Rsc::Internal
{

class ClientConnection;

/// What is called, and how it is spoken of. Borrows everything.
struct ClientRequest
{
    const char* objectPath;
    const char* interfaceName;
    const char* operationName;
    const char* resultsSignature;
    /// For messages: the service's name in its own notation, and where the other process is.
    const BasicString& serviceName;
    const BasicString& place;
    std::chrono::milliseconds timeout;
};

/// Sends the request once and reads its answer. Throws as RscRemoteService::Call does.
void Exchange(ClientConnection& connection, const ClientRequest& request, CallDeadline deadline,
              const RscRemoteService::WriteFunction& writeArguments, const RscRemoteService::ReadFunction& readResults);

/// Throws the fault with a message that says which call it was.
[[noreturn]] void ThrowFault(const ClientRequest& request, const RscServiceException& cause);

} // namespace Oxa::System::Rsc::Internal
