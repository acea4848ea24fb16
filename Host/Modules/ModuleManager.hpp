#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Modules/LoadedModule.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::System::Nm
{
class NotificationManager;
}

namespace Oxa::Services::Commons::Wbm::Modules
{
class IWbmModuleHandler;
}

namespace Oxa::Host::Modules
{

/// Takes the configured modules through their life. A module that fails, in whatever way, is logged once with its
/// library and the cause and left out; the others go on.
/// Owned by the host's main part. Threads: one at a time.
class ModuleManager final : private System::Commons::Diagnostics::Logging::Loggable<ModuleManager>
{
public:
    /// Everything is borrowed. `registry` must outlive this object.
    ModuleManager(System::Commons::AppDomain& appDomain, Services::Commons::Wbm::Modules::IWbmModuleHandler& registry,
                  System::Nm::NotificationManager& notifications);
    ModuleManager(const ModuleManager&) = delete;
    ModuleManager& operator=(const ModuleManager&) = delete;

    /// As `StopAll`.
    ~ModuleManager();

    /// Creates, sets up and starts the modules in the order of the configuration. Throws XmlException when the settings
    /// of a module cannot be read; that module is reset and gone by then, the ones before it go on until `StopAll`.
    void StartAll(const std::vector<Configuration::ModuleConfiguration>& configurations);

    /// Stops, resets and destroys the modules and unloads their libraries, each in the reverse order.
    void StopAll() noexcept;

    /// The names of those that were left out.
    [[nodiscard]] const std::vector<BasicString>& GetFailedModules() const noexcept
    {
        return failedModules;
    }

private:
    [[nodiscard]] std::unique_ptr<LoadedModule> TryLoad(const Configuration::ModuleConfiguration& configuration);
    [[nodiscard]] bool TrySetup(LoadedModule& module);
    void Stop(LoadedModule& module);
    void AddFailure(const Configuration::ModuleConfiguration& configuration, const char* operation,
                    const BasicString& cause);
    template <class Operation>
    [[nodiscard]] bool TryCall(const Configuration::ModuleConfiguration& configuration, const char* operation,
                               const Operation& call);

    System::Commons::AppDomain& appDomain;
    Services::Commons::Wbm::Modules::IWbmModuleHandler& registry;
    System::Nm::NotificationManager& notifications;
    std::vector<std::unique_ptr<LoadedModule>> modules;
    std::vector<BasicString> failedModules;
};

} // namespace Oxa::Host::Modules
