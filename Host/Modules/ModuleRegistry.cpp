#include "Host/Modules/ModuleRegistry.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

#include <algorithm>

namespace Oxa::Host::Modules
{

namespace
{

bool CanBeReached(std::string_view name)
{
    constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr std::string_view reserved[] = {"session", "pages", "boot"};
    return !name.empty() && name.find_first_not_of(allowed) == std::string_view::npos &&
           std::find(std::begin(reserved), std::end(reserved), name) == std::end(reserved);
}

} // namespace

ModuleRegistry::ModuleRegistry(Threads::EventLoop& loop, const Configuration::HostConfiguration& configuration)
    : loop(loop), maximumWaiting(configuration.maximumWaitingRequests)
{
    for (const auto& module : configuration.modules)
    {
        for (const auto& provider : module.dataProviders)
        {
            expected.emplace(provider.name, provider.isSafe);
        }
    }
}

ModuleRegistry::~ModuleRegistry() = default;

bool ModuleRegistry::RegisterDataProvider(const DataProviderInfo& dataProviderInfo, RequestHandler handler)
{
    const BasicString& name = dataProviderInfo.GetDataProviderName();
    if (!handler || !CanBeReached(name))
    {
        return false;
    }
    const auto found = expected.find(name);
    auto provider = std::make_shared<DataProvider>();
    provider->name = name;
    provider->handler = std::move(handler);
    provider->strand = std::make_shared<RequestStrand>(loop, name, maximumWaiting);
    provider->isSafe = found != expected.end() && found->second;
    const std::lock_guard lock(mutex);
    return dataProviders.emplace(name, std::move(provider)).second;
}

void ModuleRegistry::UnregisterDataProvider(const BasicString& dataProviderName)
{
    std::shared_ptr<const DataProvider> provider;
    {
        const std::lock_guard lock(mutex);
        const auto found = dataProviders.find(dataProviderName);
        if (found == dataProviders.end())
        {
            return;
        }
        provider = std::move(found->second);
        dataProviders.erase(found);
    }
    provider->strand->Close();
}

bool ModuleRegistry::RegisterPage(const PageInfo& pageInfo, PageHandler handler)
{
    const std::lock_guard lock(mutex);
    const bool isTaken =
        std::any_of(pages.begin(), pages.end(),
                    [&pageInfo](const Page& page) { return page.first.GetPageName() == pageInfo.GetPageName(); });
    if (isTaken || !handler)
    {
        return false;
    }
    pages.emplace_back(pageInfo, std::move(handler));
    return true;
}

void ModuleRegistry::UnregisterPage(const BasicString& pageName)
{
    std::vector<Page> removed;
    const std::lock_guard lock(mutex);
    const auto end = std::stable_partition(
        pages.begin(), pages.end(), [&pageName](const Page& page) { return page.first.GetPageName() != pageName; });
    removed.assign(end, pages.end());
    pages.erase(end, pages.end());
}

void ModuleRegistry::RegisterSupportedLanguage(const BasicString& language)
{
    const std::lock_guard lock(mutex);
    languages.push_back(language);
}

void ModuleRegistry::UnregisterSupportedLanguage(const BasicString& language)
{
    const std::lock_guard lock(mutex);
    const auto found = std::find(languages.begin(), languages.end(), language);
    if (found != languages.end())
    {
        languages.erase(found);
    }
}

std::shared_ptr<const DataProvider> ModuleRegistry::FindDataProvider(std::string_view name) const
{
    const std::lock_guard lock(mutex);
    const auto found = dataProviders.find(name);
    return found == dataProviders.end() ? nullptr : found->second;
}

std::size_t ModuleRegistry::CountDataProviders() const
{
    const std::lock_guard lock(mutex);
    return dataProviders.size();
}

bool ModuleRegistry::IsExpected(std::string_view name) const
{
    return expected.find(name) != expected.end();
}

std::vector<BasicString> ModuleRegistry::FindUnavailableDataProviders() const
{
    std::map<BasicString, std::shared_ptr<const DataProvider>> asked;
    for (const auto& [name, isSafe] : expected)
    {
        asked.emplace(name, nullptr);
    }
    {
        const std::lock_guard lock(mutex);
        for (const auto& [name, provider] : dataProviders)
        {
            asked.insert_or_assign(name, provider);
        }
    }
    std::vector<BasicString> names;
    for (const auto& [name, provider] : asked)
    {
        if (!provider || !provider->handler->IsAvailable())
        {
            names.push_back(name);
        }
    }
    return names;
}

std::vector<ModuleRegistry::Page> ModuleRegistry::GetPages() const
{
    const std::lock_guard lock(mutex);
    return pages;
}

std::vector<BasicString> ModuleRegistry::GetSupportedLanguages() const
{
    std::vector<BasicString> result;
    const std::lock_guard lock(mutex);
    for (const BasicString& language : languages)
    {
        if (std::find(result.begin(), result.end(), language) == result.end())
        {
            result.push_back(language);
        }
    }
    return result;
}

} // namespace Oxa::Host::Modules
