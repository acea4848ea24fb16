#include "Oxa/System/Rsc/RscServer.hpp"

#include "Oxa/System/Rsc/Internal/ServerLoop.hpp"

namespace Oxa::System::Rsc
{

RscServer::RscServer(const RscServerConfiguration& configuration)
    : loop(std::make_unique<Internal::ServerLoop>(configuration))
{
}

RscServer::~RscServer() = default;

} // namespace Oxa::System::Rsc
