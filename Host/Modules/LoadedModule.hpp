#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Modules/ModuleRegistrations.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModule.hpp"
#include "Oxa/System/Acf/SharedLibrary.hpp"

#include <memory>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Host::Modules
{

/// One module, what it has registered, and the library that its code is in. They go in the order in which nothing is
/// left that leads into code that is gone.
/// Threads: one at a time.
class LoadedModule final
{
public:
    /// Loads the library. Throws InvalidOperationException when that cannot be done. `registry` is borrowed: what the
    /// module registers goes there.
    LoadedModule(const Configuration::ModuleConfiguration& configuration, ModuleRegistry& registry);

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

    /// For the module's set-up and reset.
    [[nodiscard]] ModuleRegistrations& GetRegistrations() noexcept
    {
        return registrations;
    }

private:
    Configuration::ModuleConfiguration configuration;
    // In this order, so that the library goes last and the registry's way into the module first.
    System::Acf::SharedLibrary library;
    std::unique_ptr<Services::Commons::Wbm::Modules::IWbmModule> module;
    ModuleRegistrations registrations;
};

} // namespace Oxa::Host::Modules
