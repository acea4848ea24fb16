#include "Host/Modules/ModuleRegistry.hpp"

#include "Host/Modules/ModuleGate.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

#include <algorithm>
#include <utility>

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

auto FindPage(std::vector<std::shared_ptr<const RegisteredPage>>& pages, const BasicString& name)
{
    return std::find_if(pages.begin(), pages.end(),
                        [&name](const auto& page) { return page->info.GetPageName() == name; });
}

/// Whether a module may put another entry into the place of this one.
template <class Entry>
bool IsFree(const Entry& entry, const std::shared_ptr<ModuleGate>& gate)
{
    return entry.isWithdrawn && entry.gate == gate;
}

/// Does not call a module whose gate is closed.
bool MayBeAsked(const DataProvider& provider)
{
    const ModuleGate::Visit visit(*provider.gate);
    return visit && !provider.isWithdrawn && provider.handler->IsAvailable();
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

bool ModuleRegistry::RegisterDataProvider(const DataProviderInfo& dataProviderInfo, RequestHandler handler,
                                          const Gate& gate)
{
    const BasicString& name = dataProviderInfo.GetDataProviderName();
    if (!handler || !CanBeReached(name))
    {
        return false;
    }
    // What it replaces goes outside the lock.
    std::shared_ptr<const DataProvider> provider = MakeDataProvider(name, std::move(handler), gate);
    const std::lock_guard lock(mutex);
    auto& place = dataProviders[name];
    if (place && !IsFree(*place, gate))
    {
        return false;
    }
    place.swap(provider);
    return true;
}

std::shared_ptr<DataProvider> ModuleRegistry::MakeDataProvider(const BasicString& name, RequestHandler handler,
                                                               const Gate& gate) const
{
    const auto found = expected.find(name);
    auto provider = std::make_shared<DataProvider>();
    provider->name = name;
    provider->handler = std::move(handler);
    provider->strand = std::make_shared<Http::RequestStrand>(loop, name, maximumWaiting);
    provider->gate = gate;
    provider->isSafe = found != expected.end() && found->second;
    return provider;
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
        provider = found->second;
        provider->isWithdrawn = true;
        if (provider->gate->IsOpen())
        {
            dataProviders.erase(found);
        }
    }
    provider->strand->Close();
}

bool ModuleRegistry::RegisterPage(const PageInfo& pageInfo, PageHandler handler, const Gate& gate)
{
    // What it replaces goes outside the lock.
    std::shared_ptr<const RegisteredPage> page;
    const std::lock_guard lock(mutex);
    const auto found = FindPage(pages, pageInfo.GetPageName());
    if (!handler || (found != pages.end() && !IsFree(**found, gate)))
    {
        return false;
    }
    page = std::make_shared<RegisteredPage>(pageInfo, std::move(handler), gate);
    if (found == pages.end())
    {
        pages.push_back(page);
    }
    else
    {
        found->swap(page);
    }
    return true;
}

void ModuleRegistry::UnregisterPage(const BasicString& pageName)
{
    // Destroyed outside the lock.
    std::shared_ptr<const RegisteredPage> page;
    const std::lock_guard lock(mutex);
    const auto found = FindPage(pages, pageName);
    if (found == pages.end())
    {
        return;
    }
    page = *found;
    page->isWithdrawn = true;
    if (page->gate->IsOpen())
    {
        pages.erase(found);
    }
}

void ModuleRegistry::RegisterSupportedLanguage(const BasicString& language, const Gate& gate)
{
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(languages.begin(), languages.end(),
                                    [&language, &gate](const Language& each)
                                    { return each.isWithdrawn && each.name == language && each.gate == gate; });
    if (found == languages.end())
    {
        languages.push_back({language, gate});
    }
    else
    {
        found->isWithdrawn = false;
    }
}

void ModuleRegistry::UnregisterSupportedLanguage(const BasicString& language, const Gate& gate)
{
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(languages.begin(), languages.end(),
                                    [&language, &gate](const Language& each)
                                    { return !each.isWithdrawn && each.name == language && each.gate == gate; });
    if (found == languages.end())
    {
        return;
    }
    found->isWithdrawn = true;
    if (gate->IsOpen())
    {
        languages.erase(found);
    }
}

void ModuleRegistry::DropWithdrawn(const ModuleGate& gate)
{
    // Handlers go outside the lock.
    decltype(dataProviders) oldDataProviders;
    decltype(pages) oldPages;
    const auto isDropped = [&gate](const auto& each)
    {
        return each.gate.get() == &gate && each.isWithdrawn;
    };
    const std::lock_guard lock(mutex);
    oldDataProviders = dataProviders;
    oldPages = pages;
    std::erase_if(dataProviders, [&isDropped](const auto& each) { return isDropped(*each.second); });
    std::erase_if(pages, [&isDropped](const auto& each) { return isDropped(*each); });
    std::erase_if(languages, isDropped);
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
    return static_cast<std::size_t>(std::count_if(dataProviders.begin(), dataProviders.end(),
                                                  [this](const auto& each) { return !IsExpected(each.first); })) +
           expected.size();
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
        if (!provider || !MayBeAsked(*provider))
        {
            names.push_back(name);
        }
    }
    return names;
}

bool ModuleRegistry::IsAvailable(const ModuleGate& gate) const
{
    std::vector<RequestHandler> requestHandlers;
    std::vector<PageHandler> pageHandlers;
    {
        const std::lock_guard lock(mutex);
        for (const auto& [name, provider] : dataProviders)
        {
            if (provider->gate.get() == &gate && !provider->isWithdrawn)
            {
                requestHandlers.push_back(provider->handler);
            }
        }
        for (const auto& page : pages)
        {
            if (page->gate.get() == &gate && !page->isWithdrawn)
            {
                pageHandlers.push_back(page->handler);
            }
        }
    }
    const auto isAvailable = [](const auto& handler)
    {
        return handler->IsAvailable();
    };
    return std::all_of(requestHandlers.begin(), requestHandlers.end(), isAvailable) &&
           std::all_of(pageHandlers.begin(), pageHandlers.end(), isAvailable);
}

std::vector<std::shared_ptr<const RegisteredPage>> ModuleRegistry::GetPages() const
{
    const std::lock_guard lock(mutex);
    return pages;
}

std::vector<BasicString> ModuleRegistry::GetSupportedLanguages() const
{
    std::vector<BasicString> result;
    const std::lock_guard lock(mutex);
    for (const Language& language : languages)
    {
        if (std::find(result.begin(), result.end(), language.name) == result.end())
        {
            result.push_back(language.name);
        }
    }
    return result;
}

} // namespace Oxa::Host::Modules
