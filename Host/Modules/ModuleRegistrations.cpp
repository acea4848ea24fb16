#include "Host/Modules/ModuleRegistrations.hpp"

#include "Host/Modules/ModuleGate.hpp"
#include "Host/Modules/ModuleRegistry.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Host::Modules
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// False when there is none of that name.
bool RemoveOne(std::vector<BasicString>& names, const BasicString& name)
{
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end())
    {
        return false;
    }
    names.erase(found);
    return true;
}

} // namespace

ModuleRegistrations::ModuleRegistrations(ModuleRegistry& registry, BasicString moduleName,
                                         std::shared_ptr<ModuleGate> gate)
    : registry(registry), moduleName(std::move(moduleName)), gate(std::move(gate))
{
}

ModuleRegistrations::~ModuleRegistrations()
{
    TakeBackAll();
    // Nothing may be left that leads into the module's library.
    registry.DropWithdrawn(*gate);
}

void ModuleRegistrations::TakeBackAll()
{
    TakeBack(dataProviders, &ModuleRegistrations::UnregisterDataProvider);
    TakeBack(pages, &ModuleRegistrations::UnregisterPage);
    TakeBack(languages, &ModuleRegistrations::UnregisterSupportedLanguage);
}

void ModuleRegistrations::ReportDifferences() const
{
    registry.ReportDifferences(moduleName, *gate);
}

bool ModuleRegistrations::RegisterPage(const PageInfo& pageInfo, PageHandler handler)
{
    // Noted first: nothing may be registered that is not noted.
    pages.push_back(pageInfo.GetPageName());
    const bool isRegistered = registry.RegisterPage(pageInfo, std::move(handler), gate);
    if (!isRegistered)
    {
        pages.pop_back();
    }
    return isRegistered;
}

void ModuleRegistrations::UnregisterPage(const BasicString& pageName)
{
    if (RemoveOne(pages, pageName))
    {
        registry.UnregisterPage(pageName);
    }
}

bool ModuleRegistrations::RegisterDataProvider(const DataProviderInfo& dataProviderInfo, RequestHandler handler)
{
    dataProviders.push_back(dataProviderInfo.GetDataProviderName());
    const bool isRegistered = registry.RegisterDataProvider(moduleName, dataProviderInfo, std::move(handler), gate);
    if (!isRegistered)
    {
        dataProviders.pop_back();
    }
    return isRegistered;
}

void ModuleRegistrations::UnregisterDataProvider(const BasicString& dataProviderName)
{
    if (RemoveOne(dataProviders, dataProviderName))
    {
        registry.UnregisterDataProvider(dataProviderName);
    }
}

void ModuleRegistrations::RegisterSupportedLanguage(const BasicString& language)
{
    languages.push_back(language);
    registry.RegisterSupportedLanguage(language, gate);
}

void ModuleRegistrations::UnregisterSupportedLanguage(const BasicString& language)
{
    if (RemoveOne(languages, language))
    {
        registry.UnregisterSupportedLanguage(language, gate);
    }
}

/// Until nothing is left: unregistering removes the name.
void ModuleRegistrations::TakeBack(const Names& names, Unregister unregister)
{
    while (!names.empty())
    {
        // A reference would die with the entry.
        const BasicString name = names.back(); // NOLINT(performance-unnecessary-copy-initialization)
        Log(LogLevel::Warning, "the module '{0}' left '{1}' registered", moduleName, name);
        (this->*unregister)(name);
    }
}

} // namespace Oxa::Host::Modules
