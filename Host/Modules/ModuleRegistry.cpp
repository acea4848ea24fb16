#include "Host/Modules/ModuleRegistry.hpp"

#include "Host/Modules/ModuleGate.hpp"
#include "Host/RouteNames.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Host::Modules
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscFault;
using System::Rsc::RscServiceException;

namespace
{

bool CanBeReached(std::string_view name)
{
    constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    return !name.empty() && name.find_first_not_of(allowed) == std::string_view::npos && !RouteNames::IsReserved(name);
}

/// Does not call a module whose gate is closed, nor one that hangs: that may hang here as well.
bool MayBeAsked(const DataProvider& provider)
{
    if (provider.strand->FindHangingTask())
    {
        return false;
    }
    const ModuleGate::Visit visit(*provider.gate);
    return visit && !provider.isWithdrawn && provider.handler->IsAvailable();
}

} // namespace

const Http::Problem* FindServiceProblem(const std::exception& exception) noexcept
{
    const auto* const fault = dynamic_cast<const RscServiceException*>(&exception);
    if (fault == nullptr)
    {
        return nullptr;
    }
    switch (fault->GetFault())
    {
    case RscFault::TimedOut:
        return &Http::Problems::serviceTimeout;
    case RscFault::ConnectionLost:
        return &Http::Problems::serviceLost;
    case RscFault::InvalidResponse:
        return &Http::Problems::invalidServiceResponse;
    case RscFault::Refused:
        return &Http::Problems::serviceRefused;
    default:
        return &Http::Problems::serviceNotAvailable;
    }
}

ModuleRegistry::ModuleRegistry(Threads::EventLoop& loop, const Configuration::HostConfiguration& configuration)
    : loop(loop), maximumWaiting(configuration.maximumWaitingRequests)
{
    for (const auto& module : configuration.modules)
    {
        for (const auto& provider : module.dataProviders)
        {
            expected.emplace(provider.name, ExpectedDataProvider{module.name, provider.isSafe});
        }
    }
}

ModuleRegistry::~ModuleRegistry() = default;

bool ModuleRegistry::RegisterDataProvider(const BasicString& moduleName, const DataProviderInfo& dataProviderInfo,
                                          RequestHandler handler, const Gate& gate)
{
    const BasicString& name = dataProviderInfo.GetDataProviderName();
    BasicString cause = handler ? FindRefusalCause(moduleName, name) : "it has no handler";
    if (cause.empty())
    {
        // What it replaces goes outside the lock.
        auto provider = MakeDataProvider(moduleName, name, std::move(handler), gate);
        const MutexLock lock(mutex);
        cause = dataProviders.TryAdd(provider) ? "" : "the name is taken";
    }
    if (!cause.empty())
    {
        Log(LogLevel::Warning, "the data provider '{0}' of the module '{1}' is refused: {2}", name, moduleName, cause);
    }
    return cause.empty();
}

/// Empty: the module may have the name, unless it is taken.
BasicString ModuleRegistry::FindRefusalCause(const BasicString& moduleName, const BasicString& name) const
{
    if (!CanBeReached(name))
    {
        return "no request can reach the name";
    }
    const auto found = expected.find(name);
    return found == expected.end() || found->second.moduleName == moduleName
               ? ""
               : "the configuration gives the name to the module '" + found->second.moduleName + '\'';
}

std::shared_ptr<DataProvider> ModuleRegistry::MakeDataProvider(const BasicString& moduleName, const BasicString& name,
                                                               RequestHandler handler, const Gate& gate) const
{
    const auto found = expected.find(name);
    auto provider = std::make_shared<DataProvider>();
    provider->name = name;
    provider->handler = std::move(handler);
    provider->strand = std::make_shared<Http::RequestStrand>(
        loop, "the data provider '" + name + "' of the module '" + moduleName + '\'', maximumWaiting,
        &FindServiceProblem);
    provider->gate = gate;
    provider->isSafe = found != expected.end() && found->second.isSafe;
    return provider;
}

void ModuleRegistry::UnregisterDataProvider(const BasicString& dataProviderName)
{
    std::shared_ptr<DataProvider> provider;
    {
        const MutexLock lock(mutex);
        provider = dataProviders.Withdraw(dataProviderName);
    }
    if (provider)
    {
        provider->strand->Close();
    }
}

bool ModuleRegistry::RegisterPage(const PageInfo& pageInfo, PageHandler handler, const Gate& gate)
{
    if (!handler)
    {
        return false;
    }
    // What it replaces goes outside the lock.
    auto page = std::make_shared<RegisteredPage>(pageInfo);
    page->handler = std::move(handler);
    page->gate = gate;
    const MutexLock lock(mutex);
    return pages.TryAdd(page);
}

void ModuleRegistry::UnregisterPage(const BasicString& pageName)
{
    // Goes outside the lock.
    std::shared_ptr<RegisteredPage> page;
    const MutexLock lock(mutex);
    page = pages.Withdraw(pageName);
}

void ModuleRegistry::RegisterSupportedLanguage(const BasicString& language, const Gate& gate)
{
    const MutexLock lock(mutex);
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
    const MutexLock lock(mutex);
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
    RegisteredList<DataProvider>::Entries oldDataProviders;
    RegisteredList<RegisteredPage>::Entries oldPages;
    const MutexLock lock(mutex);
    oldDataProviders = dataProviders.TakeWithdrawn(gate);
    oldPages = pages.TakeWithdrawn(gate);
    std::erase_if(languages,
                  [&gate](const Language& language) { return language.gate.get() == &gate && language.isWithdrawn; });
}

std::shared_ptr<const DataProvider> ModuleRegistry::FindDataProvider(std::string_view name) const
{
    const MutexLock lock(mutex);
    return dataProviders.Find(name);
}

bool ModuleRegistry::IsExpected(std::string_view name) const
{
    return expected.find(name) != expected.end();
}

std::vector<BasicString> ModuleRegistry::FindUnavailableDataProviders() const
{
    std::map<BasicString, std::shared_ptr<const DataProvider>> asked;
    for (const auto& [name, provider] : expected)
    {
        asked.emplace(name, nullptr);
    }
    {
        const MutexLock lock(mutex);
        for (const auto& provider : dataProviders.GetAll())
        {
            asked.insert_or_assign(provider->name, provider);
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

std::vector<Http::RequestStrand::HangingTask> ModuleRegistry::FindHangingRequests() const
{
    std::vector<Http::RequestStrand::HangingTask> hanging;
    const MutexLock lock(mutex);
    for (const auto& provider : dataProviders.GetAll())
    {
        if (auto task = provider->strand->FindHangingTask())
        {
            hanging.push_back(std::move(*task));
        }
    }
    return hanging;
}

void ModuleRegistry::ReportDifferences(const BasicString& moduleName, const ModuleGate& gate)
{
    BasicString unconfigured;
    BasicString unregistered;
    const MutexLock lock(mutex);
    const auto registered = dataProviders.GetAllOf(gate);
    for (const auto& provider : registered)
    {
        unconfigured += IsExpected(provider->name) ? "" : " '" + provider->name + '\'';
    }
    for (const auto& each : expected)
    {
        const bool isMissing = each.second.moduleName == moduleName &&
                               std::none_of(registered.begin(), registered.end(),
                                            [&each](const auto& provider) { return provider->name == each.first; });
        unregistered += isMissing ? " '" + each.first + '\'' : "";
    }
    BasicString difference =
        (unconfigured.empty() ? "" : " registers data providers that the configuration does not name:" + unconfigured) +
        (unconfigured.empty() || unregistered.empty() ? "" : ", and") +
        (unregistered.empty() ? "" : " does not register those that the configuration names:" + unregistered);
    if (!difference.empty() && differences[moduleName] != difference)
    {
        Log(LogLevel::Warning, "the module '{0}'{1}", moduleName, difference);
    }
    differences[moduleName] = std::move(difference);
}

bool ModuleRegistry::IsAvailable(const ModuleGate& gate) const
{
    std::vector<std::shared_ptr<const DataProvider>> ownProviders;
    std::vector<std::shared_ptr<const RegisteredPage>> ownPages;
    {
        const MutexLock lock(mutex);
        ownProviders = dataProviders.GetAllOf(gate);
        ownPages = pages.GetAllOf(gate);
    }
    const auto isAvailable = [](const auto& entry)
    {
        return entry->handler->IsAvailable();
    };
    return std::all_of(ownProviders.begin(), ownProviders.end(), isAvailable) &&
           std::all_of(ownPages.begin(), ownPages.end(), isAvailable);
}

std::vector<std::shared_ptr<const RegisteredPage>> ModuleRegistry::GetPages() const
{
    const MutexLock lock(mutex);
    return {pages.GetAll().begin(), pages.GetAll().end()};
}

std::vector<BasicString> ModuleRegistry::GetSupportedLanguages() const
{
    std::vector<BasicString> result;
    const MutexLock lock(mutex);
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
