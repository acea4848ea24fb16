#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Modules/ManagedModule.hpp"
#include "Host/Modules/ModuleBorder.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <memory>
#include <vector>

namespace Oxa::Host::Modules
{

class ModuleRegistry;
class ModuleRenewer;

/// Takes the configured modules through their life. A module that fails, in whatever way, is logged with its library
/// and the cause and left out; the others go on.
/// Owned by the host's main part. Threads: one at a time, except for `GetFailedModules`.
class ModuleManager final
{
public:
    /// Everything is borrowed. `registry` must outlive this object.
    ModuleManager(System::Commons::AppDomain& appDomain, ModuleRegistry& registry, ModuleRenewer& renewer,
                  System::Nm::NotificationManager& notifications);
    ModuleManager(const ModuleManager&) = delete;
    ModuleManager& operator=(const ModuleManager&) = delete;

    /// As `StopAll` and `UnloadAll`.
    ~ModuleManager();

    /// Creates, sets up and starts the modules in the order of the configuration; from then on the renewer sets them up
    /// again when that is due. Throws XmlException when the settings of a module cannot be read; that module is reset
    /// by then, the ones before it go on until `StopAll`.
    void StartAll(const std::vector<Configuration::ModuleConfiguration>& configurations);

    /// Stops and resets the modules in the reverse order. Requires: the renewer does nothing any more.
    void StopAll() noexcept;

    /// Destroys the modules and unloads their libraries, each in the reverse order. Requires: they are stopped, and
    /// nothing is left in the process whose code came with a module's library, such as what calls services in other
    /// processes.
    void UnloadAll() noexcept;

    /// The names of those that are left out now. After `StartAll` from any thread.
    [[nodiscard]] std::vector<BasicString> GetFailedModules() const;

    /// Of those that can be set up again.
    [[nodiscard]] std::size_t CountModules() const noexcept;

private:
    [[nodiscard]] std::unique_ptr<ManagedModule> TryLoad(const Configuration::ModuleConfiguration& configuration);

    System::Commons::AppDomain& appDomain;
    ModuleRegistry& registry;
    ModuleRenewer& renewer;
    const ModuleBorder border;
    std::vector<std::unique_ptr<ManagedModule>> modules;
    /// Those that cannot even be created.
    std::vector<BasicString> unusableModules;
};

} // namespace Oxa::Host::Modules
