#include "Host/Modules/ModuleManager.hpp"

#include "Host/Modules/ModuleRenewer.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Host::Modules
{

using Configuration::ModuleConfiguration;

ModuleManager::ModuleManager(System::Commons::AppDomain& appDomain, ModuleRegistry& registry, ModuleRenewer& renewer,
                             System::Nm::NotificationManager& notifications)
    : appDomain(appDomain), registry(registry), renewer(renewer), border(notifications)
{
}

ModuleManager::~ModuleManager()
{
    StopAll();
    UnloadAll();
}

void ModuleManager::StartAll(const std::vector<ModuleConfiguration>& configurations)
{
    for (const ModuleConfiguration& configuration : configurations)
    {
        auto module = TryLoad(configuration);
        if (module)
        {
            modules.push_back(std::move(module));
            renewer.Add(*modules.back());
        }
        else
        {
            unusableModules.push_back(configuration.name);
        }
    }
}

/// Null when it failed.
std::unique_ptr<ManagedModule> ModuleManager::TryLoad(const ModuleConfiguration& configuration)
{
    std::unique_ptr<LoadedModule> loaded;
    // Two steps: what the library throws must be gone before the library is.
    const bool isCreated =
        border.TryCall(configuration, "cannot be loaded",
                       [&loaded, &configuration, this]
                       { loaded = std::make_unique<LoadedModule>(configuration, registry); }) &&
        border.TryCall(configuration, "cannot be created", [&loaded, this] { loaded->Create(appDomain); });
    return isCreated ? std::make_unique<ManagedModule>(std::move(loaded), registry, border) : nullptr;
}

void ModuleManager::StopAll() noexcept
{
    std::for_each(modules.rbegin(), modules.rend(), [](const auto& module) { module->TakeDown(); });
}

void ModuleManager::UnloadAll() noexcept
{
    while (!modules.empty())
    {
        modules.pop_back();
    }
}

std::vector<BasicString> ModuleManager::GetFailedModules() const
{
    std::vector<BasicString> names = unusableModules;
    for (const auto& module : modules)
    {
        if (module->HasFailed())
        {
            names.push_back(module->GetName());
        }
    }
    return names;
}

std::size_t ModuleManager::CountModules() const noexcept
{
    return modules.size();
}

} // namespace Oxa::Host::Modules
