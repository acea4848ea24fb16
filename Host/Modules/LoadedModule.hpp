#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModule.hpp"
#include "Oxa/System/Acf/SharedLibrary.hpp"

#include <memory>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Host::Modules
{

/// One module, and the library that its code is in.
/// Threads: one at a time.
class LoadedModule final
{
public:
    /// Loads the library. Throws InvalidOperationException when that cannot be done.
    explicit LoadedModule(const Configuration::ModuleConfiguration& configuration);

    /// Creates the module. Throws InvalidOperationException when the library has no entry function or no such module,
    /// and passes on what the library throws: that may be of a type whose code goes with this object.
    void Create(System::Commons::AppDomain& appDomain);

    [[nodiscard]] const Configuration::ModuleConfiguration& GetConfiguration() const noexcept
    {
        return configuration;
    }

    /// Requires: `Create` has returned.
    [[nodiscard]] Services::Commons::Wbm::Modules::IWbmModule& GetModule() noexcept
    {
        return *module;
    }

private:
    Configuration::ModuleConfiguration configuration;
    // Declared before the module, so that its code is there until the module is gone.
    System::Acf::SharedLibrary library;
    std::unique_ptr<Services::Commons::Wbm::Modules::IWbmModule> module;
};

} // namespace Oxa::Host::Modules
