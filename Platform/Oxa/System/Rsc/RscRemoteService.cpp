#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include "Oxa/System/Rsc/Internal/Client/Endpoint.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

RscRemoteService::RscRemoteService(std::shared_ptr<Internal::Endpoint> endpoint, const BasicString& interfaceName)
    : endpoint(std::move(endpoint)), interfaceName(interfaceName)
{
}

RscRemoteService::~RscRemoteService() = default;

void RscRemoteService::Call(const RscOperation& operation, const WriteFunction& writeArguments,
                            const ReadFunction& readResults)
{
    endpoint->Call(interfaceName, operation, writeArguments, readResults);
}

} // namespace Oxa::System::Rsc
