#include "Device/Component/LinuxComponentLibrary.hpp"

#include "Device/Component/LinuxComponent.hpp"
#include "Device/Machine/SteadyWaiter.hpp"

#include <memory>

namespace Oxa::Device::Linux::Component
{

LinuxComponentLibrary::LinuxComponentLibrary(System::Commons::AppDomain& appDomain)
{
    GetModuleFactory().AddFactoryFunction(
        "Linux", [&appDomain]
        { return std::make_unique<LinuxComponent>(appDomain, std::make_unique<Machine::SteadyWaiter>()); });
}

LinuxComponentLibrary::~LinuxComponentLibrary() = default;

} // namespace Oxa::Device::Linux::Component
