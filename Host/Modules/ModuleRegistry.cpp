#include "Host/Modules/ModuleRegistry.hpp"

#include "Host/Configuration/ReservedNames.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

// The registry's lock guards the three lists. Handlers are neither called nor destroyed under it, since both run a
// module's code: entries that leave a list are moved out and released after the lock.

namespace Oxa::Host::Modules
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscFault;
using System::Rsc::RscServiceException;

namespace
{

template <class Entry>
using Entries = ModuleRegistry::Entries<Entry>;
using Gate = std::shared_ptr<ModuleGate>;

/// Puts the entry in the place of one that the module has withdrawn, else at the end. `entry` is then what was
/// replaced.
template <class Entry>
void Add(Entries<Entry>& entries, std::shared_ptr<Entry>& entry)
{
    const auto found =
        std::ranges::find_if(entries, [&entry](const auto& each)
                             { return each->isWithdrawn && each->name == entry->name && each->gate == entry->gate; });
    if (found != entries.end())
    {
        found->swap(entry);
        return;
    }
    entries.push_back(std::move(entry));
}

/// Likewise; false for a name that is taken.
template <class Entry>
bool TryAdd(Entries<Entry>& entries, std::shared_ptr<Entry>& entry)
{
    const bool isTaken =
        std::ranges::any_of(entries, [&entry](const auto& each)
                            { return each->name == entry->name && !(each->isWithdrawn && each->gate == entry->gate); });
    if (!isTaken)
    {
        Add(entries, entry);
    }
    return !isTaken;
}

/// Marks the module's entry as withdrawn; forgets it as well when the gate is open, since its module then does not
/// register it again. Null when the module has no entry of that name.
template <class Entry>
std::shared_ptr<Entry> Withdraw(Entries<Entry>& entries, std::string_view name, const Gate& gate)
{
    const auto found = std::ranges::find_if(entries, [name, &gate](const auto& each)
                                            { return !each->isWithdrawn && each->name == name && each->gate == gate; });
    if (found == entries.end())
    {
        return nullptr;
    }
    auto entry = *found;
    entry->isWithdrawn = true;
    if (gate->IsOpen())
    {
        entries.erase(found);
    }
    return entry;
}

/// Takes out what the module has withdrawn.
template <class Entry>
Entries<Entry> TakeWithdrawn(Entries<Entry>& entries, const Gate& gate)
{
    const auto isKept = [&gate](const auto& each)
    {
        return each->gate != gate || !each->isWithdrawn;
    };
    const auto first = std::stable_partition(entries.begin(), entries.end(), isKept);
    Entries<Entry> taken(std::make_move_iterator(first), std::make_move_iterator(entries.end()));
    entries.erase(first, entries.end());
    return taken;
}

/// What the module has registered and not withdrawn.
template <class Entry>
Entries<Entry> CopyOwn(const Entries<Entry>& entries, const Gate& gate)
{
    Entries<Entry> own;
    std::ranges::copy_if(entries, std::back_inserter(own),
                         [&gate](const auto& each) { return each->gate == gate && !each->isWithdrawn; });
    return own;
}

bool CanBeReached(std::string_view name)
{
    constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    return !name.empty() && name.find_first_not_of(allowed) == std::string_view::npos &&
           std::ranges::find(Configuration::reservedNames, name) == std::end(Configuration::reservedNames);
}

/// Does not call a module whose gate is closed, nor one that hangs: that call may hang as well.
bool IsAvailable(const DataProvider& provider)
{
    if (provider.strand->FindHangingTask())
    {
        return false;
    }
    const ModuleGate::Visit visit(*provider.gate);
    try
    {
        return visit && !provider.isWithdrawn && provider.handler->IsAvailable();
    }
    catch (...)
    {
        // Destroyed within the visit: its class may be in the module's library, which may be unloaded afterwards.
        return false;
    }
}

/// What a fault of the remote service call layer means for a client; null for other exceptions.
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

} // namespace

ModuleRegistry::Registrar::Registrar(ModuleRegistry& registry, BasicString moduleName, Gate gate)
    : registry(registry), moduleName(std::move(moduleName)), gate(std::move(gate))
{
}

ModuleRegistry::Registrar::~Registrar()
{
    UnregisterAll();
    // Nothing may be left that leads into the module's library.
    DropWithdrawn();
}

bool ModuleRegistry::Registrar::RegisterDataProvider(const DataProviderInfo& dataProviderInfo, RequestHandler handler)
{
    const BasicString& name = dataProviderInfo.GetDataProviderName();
    BasicString cause = handler ? "" : "it has no handler";
    if (cause.empty())
    {
        // What it replaces is released after the lock.
        auto provider = std::make_shared<DataProvider>(name, gate);
        provider->handler = std::move(handler);
        provider->strand = registry.MakeStrand("the data provider '" + name + "' of the module '" + moduleName + '\'');
        const MutexLock lock(registry.mutex);
        cause = registry.FindRefusalCause(name, moduleName);
        const auto found = registry.expected.find(name);
        if (cause.empty() && found != registry.expected.end())
        {
            provider->manifest = found->second.manifest;
        }
        if (cause.empty() && !TryAdd(registry.dataProviders, provider))
        {
            cause = "the name is taken";
        }
    }
    if (!cause.empty())
    {
        registry.Log(LogLevel::Warning, "the data provider '{0}' of the module '{1}' is refused: {2}", name, moduleName,
                     cause);
    }
    return cause.empty();
}

void ModuleRegistry::Registrar::UnregisterDataProvider(const BasicString& dataProviderName)
{
    std::shared_ptr<DataProvider> provider;
    {
        const MutexLock lock(registry.mutex);
        provider = Withdraw(registry.dataProviders, dataProviderName, gate);
    }
    if (provider)
    {
        provider->strand->Close();
    }
}

bool ModuleRegistry::Registrar::RegisterPage(const Page::Info& pageInfo, Page::Handler handler)
{
    if (!handler)
    {
        return false;
    }
    auto page = std::make_shared<Page>(pageInfo, std::move(handler), gate, moduleName);
    const MutexLock lock(registry.mutex);
    return TryAdd(registry.pages, page);
}

void ModuleRegistry::Registrar::UnregisterPage(const BasicString& pageName)
{
    std::shared_ptr<Page> page;
    const MutexLock lock(registry.mutex);
    page = Withdraw(registry.pages, pageName, gate);
}

void ModuleRegistry::Registrar::RegisterSupportedLanguage(const BasicString& language)
{
    auto entry = std::make_shared<Registration>(language, gate);
    const MutexLock lock(registry.mutex);
    Add(registry.languages, entry);
}

void ModuleRegistry::Registrar::UnregisterSupportedLanguage(const BasicString& language)
{
    const MutexLock lock(registry.mutex);
    (void)Withdraw(registry.languages, language, gate);
}

ModuleRegistry::Registrar::Own ModuleRegistry::Registrar::FindOwn() const
{
    const MutexLock lock(registry.mutex);
    return {CopyOwn(registry.dataProviders, gate), CopyOwn(registry.pages, gate), CopyOwn(registry.languages, gate)};
}

void ModuleRegistry::Registrar::UnregisterAll()
{
    const auto unregister = [this](const auto& entries, auto function)
    {
        for (auto each = entries.rbegin(); each != entries.rend(); ++each)
        {
            registry.Log(LogLevel::Warning, "the module '{0}' left '{1}' registered", moduleName, (*each)->name);
            (this->*function)((*each)->name);
        }
    };
    const Own own = FindOwn();
    unregister(own.dataProviders, &Registrar::UnregisterDataProvider);
    unregister(own.pages, &Registrar::UnregisterPage);
    unregister(own.languages, &Registrar::UnregisterSupportedLanguage);
}

void ModuleRegistry::Registrar::DropWithdrawn()
{
    Own dropped;
    {
        const MutexLock lock(registry.mutex);
        dropped = {TakeWithdrawn(registry.dataProviders, gate), TakeWithdrawn(registry.pages, gate),
                   TakeWithdrawn(registry.languages, gate)};
    }
    // Requests that just ended and lists in progress may keep the entries; the code of the handlers may be unloaded.
    for (const auto& provider : dropped.dataProviders)
    {
        provider->handler.reset();
    }
    for (const auto& page : dropped.pages)
    {
        page->handler.reset();
    }
}

void ModuleRegistry::Registrar::ReportDifferences()
{
    BasicString unnamed;
    BasicString unregistered;
    const Own own = FindOwn();
    for (const auto& provider : own.dataProviders)
    {
        unnamed += registry.IsExpected(provider->name) ? "" : " '" + provider->name + '\'';
    }
    for (const BasicString& name : registry.FindExpectedOf(moduleName))
    {
        const bool isMissing =
            std::ranges::none_of(own.dataProviders, [&name](const auto& provider) { return provider->name == name; });
        unregistered += isMissing ? " '" + name + '\'' : "";
    }
    BasicString difference =
        (unnamed.empty() ? "" : " registers data providers that its manifest does not name:" + unnamed) +
        (unnamed.empty() || unregistered.empty() ? "" : ", and") +
        (unregistered.empty() ? "" : " does not register those that its manifest names:" + unregistered);
    if (!difference.empty() && difference != lastDifference)
    {
        registry.Log(LogLevel::Warning, "the module '{0}'{1}", moduleName, difference);
    }
    lastDifference = std::move(difference);
}

std::vector<BasicString> ModuleRegistry::Registrar::GetPageNames() const
{
    std::vector<BasicString> names;
    for (const auto& page : FindOwn().pages)
    {
        names.push_back(page->name);
    }
    return names;
}

bool ModuleRegistry::Registrar::IsAvailable() const
{
    const auto isAvailable = [](const auto& entry)
    {
        return entry->handler->IsAvailable();
    };
    const Own own = FindOwn();
    return std::ranges::all_of(own.dataProviders, isAvailable) && std::ranges::all_of(own.pages, isAvailable);
}

ModuleRegistry::ModuleRegistry(Threads::EventLoop& loop, const Configuration::HostConfiguration& configuration)
    : loop(loop), waitingLimits(configuration.waitingLimits)
{
}

void ModuleRegistry::Expect(const std::vector<ModuleManifest>& manifests)
{
    std::map<BasicString, ExpectedDataProvider, std::less<>> newExpected;
    for (const auto& module : manifests)
    {
        for (const auto& provider : module.dataProviders)
        {
            newExpected.emplace(provider.name, ExpectedDataProvider{module.name, provider});
        }
    }
    const MutexLock lock(mutex);
    expected.swap(newExpected);
}

/// Empty: the module may have the name, unless it is taken.
BasicString ModuleRegistry::FindRefusalCause(const BasicString& name, const BasicString& moduleName) const
{
    if (!CanBeReached(name))
    {
        return "no request can reach the name";
    }
    const auto found = expected.find(name);
    return found == expected.end() || found->second.moduleName == moduleName
               ? ""
               : "the name belongs to the module '" + found->second.moduleName + '\'';
}

std::shared_ptr<Http::RequestStrand> ModuleRegistry::MakeStrand(BasicString name) const
{
    return std::make_shared<Http::RequestStrand>(loop, std::move(name), waitingLimits, &FindServiceProblem);
}

std::shared_ptr<const DataProvider> ModuleRegistry::FindDataProvider(std::string_view name) const
{
    const MutexLock lock(mutex);
    const auto found = std::ranges::find_if(dataProviders, [name](const auto& each) { return each->name == name; });
    return found == dataProviders.end() ? nullptr : *found;
}

bool ModuleRegistry::IsExpected(std::string_view name) const
{
    const MutexLock lock(mutex);
    return expected.find(name) != expected.end();
}

std::vector<BasicString> ModuleRegistry::FindUnavailableDataProviders() const
{
    std::map<BasicString, std::shared_ptr<DataProvider>> providers;
    {
        const MutexLock lock(mutex);
        for (const auto& [name, provider] : expected)
        {
            providers.emplace(name, nullptr);
        }
        for (const auto& provider : dataProviders)
        {
            providers.insert_or_assign(provider->name, provider);
        }
    }
    std::vector<BasicString> names;
    for (const auto& [name, provider] : providers)
    {
        if (!provider || !Modules::IsAvailable(*provider))
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
    for (const auto& provider : dataProviders)
    {
        if (auto task = provider->strand->FindHangingTask())
        {
            hanging.push_back(std::move(*task));
        }
    }
    return hanging;
}

std::vector<BasicString> ModuleRegistry::FindExpectedOf(std::string_view moduleName) const
{
    std::vector<BasicString> names;
    const MutexLock lock(mutex);
    for (const auto& [name, each] : expected)
    {
        if (each.moduleName == moduleName)
        {
            names.push_back(name);
        }
    }
    return names;
}

ModuleRegistry::Entries<Page> ModuleRegistry::GetPages() const
{
    Entries<Page> all;
    {
        const MutexLock lock(mutex);
        all = pages;
    }
    std::ranges::stable_sort(all, {}, [](const auto& page) { return std::string_view(page->moduleName); });
    return all;
}

std::vector<BasicString> ModuleRegistry::GetSupportedLanguages() const
{
    std::vector<BasicString> result;
    const MutexLock lock(mutex);
    for (const auto& language : languages)
    {
        if (std::ranges::find(result, language->name) == result.end())
        {
            result.push_back(language->name);
        }
    }
    return result;
}

} // namespace Oxa::Host::Modules
