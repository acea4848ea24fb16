#include "Oxa/System/Rsc/RscServer.hpp"

#include "Oxa/System/Rsc/Internal/Server/ServerLoop.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

RscServer::RscServer(const RscServerConfiguration& configuration, System::Commons::FileDescriptor listeningSocket)
    : loop(std::make_unique<Internal::ServerLoop>(configuration, std::move(listeningSocket)))
{
}

RscServer::~RscServer() = default;

} // namespace Oxa::System::Rsc
