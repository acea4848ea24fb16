#include "Device/Component/LinuxComponentLibrary.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Export.hpp"

extern "C" OXA_EXPORT Oxa::System::Acf::ComponentLibraryBase&
CreateComponentLibrary(Oxa::System::Commons::AppDomain& appDomain)
{
    static Oxa::Device::Linux::Component::LinuxComponentLibrary library(appDomain);
    return library;
}
