#pragma once

#include "Oxa/System/Acf/IComponent.hpp"

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Device::Linux::Component
{

/// What this shared library offers: the component "Linux".
class LinuxComponentLibrary final : public System::Acf::ComponentLibraryBase
{
public:
    /// Requires: `appDomain` outlives the components.
    explicit LinuxComponentLibrary(System::Commons::AppDomain& appDomain);
    ~LinuxComponentLibrary() override;
};

} // namespace Oxa::Device::Linux::Component
