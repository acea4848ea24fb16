#include "Host/Modules/ModuleManager.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace Oxa::Host::Modules
{

using Configuration::ModuleConfiguration;
using Services::Commons::Wbm::Modules::ModuleInfo;
using System::Commons::XmlException;
using System::Commons::Diagnostics::Logging::LogLevel;

ModuleManager::ModuleManager(System::Commons::AppDomain& appDomain,
                             Services::Commons::Wbm::Modules::IWbmModuleHandler& registry,
                             System::Nm::NotificationManager& notifications)
    : appDomain(appDomain), registry(registry), notifications(notifications)
{
}

ModuleManager::~ModuleManager()
{
    StopAll();
}

void ModuleManager::StartAll(const std::vector<ModuleConfiguration>& configurations)
{
    for (const ModuleConfiguration& configuration : configurations)
    {
        auto module = TryLoad(configuration);
        if (module && TrySetup(*module))
        {
            modules.push_back(std::move(module));
        }
    }
}

/// Null when it failed.
std::unique_ptr<LoadedModule> ModuleManager::TryLoad(const ModuleConfiguration& configuration)
{
    std::unique_ptr<LoadedModule> module;
    // Two steps: what the library throws must be gone before the library is.
    const bool isCreated = TryCall(configuration, "cannot be loaded",
                                   [&module, &configuration, this]
                                   { module = std::make_unique<LoadedModule>(configuration, registry); }) &&
                           TryCall(configuration, "cannot be created", [&module, this] { module->Create(appDomain); });
    return isCreated ? std::move(module) : nullptr;
}

bool ModuleManager::TrySetup(LoadedModule& module)
{
    const ModuleConfiguration& configuration = module.GetConfiguration();
    const auto reset = [&module]
    {
        module.GetModule().ResetModule(module.GetRegistrations());
    };
    bool isUp = false;
    try
    {
        isUp = TryCall(configuration, "cannot be set up",
                       [&module, &configuration]
                       {
                           module.GetModule().SetupModule(ModuleInfo(configuration.name, configuration.settingsPath),
                                                          module.GetRegistrations());
                       });
        isUp = isUp && TryCall(configuration, "cannot be started", [&module] { module.GetModule().StartModule(); });
    }
    catch (const XmlException&)
    {
        (void)TryCall(configuration, "cannot be reset", reset);
        throw;
    }
    if (!isUp)
    {
        (void)TryCall(configuration, "cannot be reset", reset);
    }
    return isUp;
}

/// Lets only an XmlException out: settings that cannot be read are for the caller to report.
template <class Operation>
bool ModuleManager::TryCall(const ModuleConfiguration& configuration, const char* operation, const Operation& call)
{
    BasicString cause = "an exception of unknown type";
    try
    {
        call();
        return true;
    }
    catch (const XmlException&)
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        cause = exception.what();
    }
    catch (...)
    {
        // There is nothing to tell about it.
    }
    AddFailure(configuration, operation, cause);
    return false;
}

void ModuleManager::AddFailure(const ModuleConfiguration& configuration, const char* operation,
                               const BasicString& cause)
{
    Log(LogLevel::Error, "the module '{0}' of '{1}' {2}: {3}", configuration.name, configuration.libraryPath, operation,
        cause);
    notifications.Publish({{}, System::Nm::NotificationKind::ModuleFailed, "Host.Modules", {}, configuration.name, {}});
    if (failedModules.empty() || failedModules.back() != configuration.name)
    {
        failedModules.push_back(configuration.name);
    }
}

void ModuleManager::Stop(LoadedModule& module)
{
    try
    {
        (void)TryCall(module.GetConfiguration(), "cannot be stopped", [&module] { module.GetModule().StopModule(); });
        (void)TryCall(module.GetConfiguration(), "cannot be reset",
                      [&module] { module.GetModule().ResetModule(module.GetRegistrations()); });
    }
    catch (const XmlException& exception)
    {
        AddFailure(module.GetConfiguration(), "cannot be stopped", exception.what());
    }
}

void ModuleManager::StopAll() noexcept
{
    std::for_each(modules.rbegin(), modules.rend(), [this](const auto& module) { Stop(*module); });
    while (!modules.empty())
    {
        modules.pop_back();
    }
}

} // namespace Oxa::Host::Modules
