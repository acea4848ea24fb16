#include "Device/Component/LinuxComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Export.hpp"

#include <memory>

namespace
{

/// Offers the component "Linux". Requires: the application domain outlives the components.
class LinuxComponentLibrary final : public Oxa::System::Acf::ComponentLibraryBase
{
public:
    explicit LinuxComponentLibrary(Oxa::System::Commons::AppDomain& appDomain)
    {
        GetModuleFactory().AddFactoryFunction(
            "Linux",
            [&appDomain] { return std::make_unique<Oxa::Device::Linux::Component::LinuxComponent>(appDomain); });
    }
};

} // namespace

extern "C" OXA_EXPORT Oxa::System::Acf::ComponentLibraryBase&
CreateComponentLibrary(Oxa::System::Commons::AppDomain& appDomain)
{
    static LinuxComponentLibrary library(appDomain);
    return library;
}
