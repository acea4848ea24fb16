#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Rsc
{

class IRscService;
class RscMessageReader;
class RscMessageWriter;

/// What an operation does to the device: its deadline and who may call it depend on that.
enum class RscOperationKind : uint8
{
    Read,
    /// Changes something. Only users that the server's configuration names for commands may call it.
    Command
};

/// Takes the arguments off the message, calls the service, writes the results. What it throws is the answer: platform
/// exceptions arrive at the caller as what they are. Called on several threads at once.
using RscInvokeFunction = void (*)(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results);

/// How one operation of a service interface crosses to another process. Everything it points to lives as long as the
/// interface's library.
struct RscOperation
{
    /// As in the interface, for instance "ReadItem".
    const char* name;
    RscOperationKind kind;
    /// Of the arguments and of the results, one after the other, in the notation of D-Bus.
    const char* argumentsSignature;
    const char* resultsSignature;
    RscInvokeFunction invoke;
};

} // namespace Oxa::System::Rsc
