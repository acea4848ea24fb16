#include "Device/LinuxComponentLibrary.hpp"

#include "Device/LinuxComponent.hpp"
#include "Device/SteadyWaiter.hpp"

#include <memory>

namespace Oxa::Device::Linux
{

LinuxComponentLibrary::LinuxComponentLibrary(System::Commons::AppDomain& appDomain)
{
    GetModuleFactory().AddFactoryFunction("Linux",
                                          [&appDomain]
                                          {
                                              return std::make_unique<LinuxComponent>(appDomain,
                                                                                      std::make_unique<SteadyWaiter>(),
                                                                                      std::make_unique<SteadyWaiter>());
                                          });
}

LinuxComponentLibrary::~LinuxComponentLibrary() = default;

} // namespace Oxa::Device::Linux
