#include "Host/Modules/ModuleSupervisor.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <chrono>
#include <utility>

// A module is waiting (its lifecycle has a due time, or waits for an epoch), being set up (the lifecycle's set-up is in
// progress, the gate is closed), open, or, when it is not wanted any more, leaving: as soon as its gate can be closed
// it is unloaded and forgotten, and only then one of the same name is added. `Update` begins set-ups and removals; it
// runs on the loop after everything that may change the outcome: other manifests, an epoch, the end of a set-up or a
// removal, the end of a gate's last visit, the timer. `mutex` guards the list and what its entries hold beside the
// module, and is never held while a module is called; gates and the registry lock themselves inside it.

namespace Oxa::Host::Modules
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Text::Format;
using System::Nm::NotificationKind;
using System::Rsc::ServiceManager;
using Outcome = ModuleLifecycle::Outcome;

struct ModuleSupervisor::Entry
{
    Entry(const ModuleManifest& manifest, ModuleSupervisor& owner, bool isInitial)
        : reserve(owner.loop), module(manifest, owner.registry, [&owner] { owner.PostUpdate(); }), isInitial(isInitial)
    {
    }

    /// The module's set-up or removal may hang.
    const Threads::EventLoop::Reserve reserve;
    HostedModule module;
    /// It belongs to the start, which ends when the settings of one of its modules cannot be read.
    const bool isInitial;
    ModuleLifecycle lifecycle;
    /// Why the last set-up failed.
    BasicString failure;
    /// Its removal has begun.
    bool isLeaving = false;
};

namespace
{

DateTime GetNow()
{
    using namespace std::chrono;
    return DateTime::FromUnixTimeMicroseconds(
        duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

/// States that a module only passes through are not published.
bool IsSettled(ModuleState state) noexcept
{
    return state != ModuleState::Starting && state != ModuleState::Stopping;
}

} // namespace

std::string_view GetModuleStateName(ModuleState state) noexcept
{
    switch (state)
    {
    case ModuleState::Starting:
        return "starting";
    case ModuleState::Running:
        return "running";
    case ModuleState::Waiting:
        return "waiting";
    case ModuleState::Failed:
        return "failed";
    case ModuleState::Refused:
        return "refused";
    case ModuleState::Stopping:
        return "stopping";
    case ModuleState::Stopped:
        break;
    }
    return "stopped";
}

ModuleSupervisor::ModuleSupervisor(System::Commons::AppDomain& appDomain, ModuleRegistry& registry,
                                   Threads::EventLoop& loop, System::Nm::NotificationManager& notifications)
    : appDomain(appDomain), registry(registry), loop(loop), notifications(notifications), timer(loop.GetContext())
{
}

ModuleSupervisor::~ModuleSupervisor()
{
    StopAll();
    UnloadAll();
}

void ModuleSupervisor::Apply(ModuleManifests newModules)
{
    std::vector<ManifestFault> newFaults;
    std::vector<ModuleManifest> expected;
    {
        const MutexLock lock(mutex);
        for (const ManifestFault& fault : newModules.faults)
        {
            if (std::ranges::find(wanted.faults, fault) == wanted.faults.end())
            {
                newFaults.push_back(fault);
            }
            const auto previous = std::ranges::find(wanted.manifests, fault.moduleName, &ModuleManifest::name);
            if (previous != wanted.manifests.end())
            {
                // In front, so that its data providers stay its own.
                newModules.manifests.insert(newModules.manifests.begin(), *previous);
            }
        }
        wanted = std::move(newModules);
        expected = wanted.manifests;
        AddMissing();
    }
    for (const ManifestFault& fault : newFaults)
    {
        Log(LogLevel::Error, "the module '{0}' is refused: {1}", fault.moduleName, fault.cause);
    }
    registry.Expect(expected);
    PostUpdate();
}

void ModuleSupervisor::Start(WhenSetUp newWhenSetUp)
{
    {
        const MutexLock lock(mutex);
        whenSetUp = std::move(newWhenSetUp);
        isStarted = true;
    }
    ServiceManager::AddListener(*this);
    isListening = true;
    ReportFirstSetups(nullptr);
    PostUpdate();
}

void ModuleSupervisor::StopAll() noexcept
{
    if (std::exchange(isListening, false))
    {
        // Services that go at the end of the process are not lost.
        ServiceManager::RemoveListener(*this);
    }
    const Entries all = GetEntries();
    std::for_each(all.rbegin(), all.rend(), [](const auto& entry) { entry->module.TakeDown(); });
}

/// Handlers that the loop did not run before its end may keep an entry.
void ModuleSupervisor::UnloadAll() noexcept
{
    const Entries all = GetEntries();
    std::for_each(all.rbegin(), all.rend(), [](const auto& entry) { entry->module.Unload(); });
    const MutexLock lock(mutex);
    entries.clear();
}

ModuleSupervisor::Entries ModuleSupervisor::GetEntries() const
{
    const MutexLock lock(mutex);
    return entries;
}

std::vector<ModuleSupervisor::ModuleStatus> ModuleSupervisor::GetStatuses() const
{
    std::vector<ModuleStatus> statuses;
    const MutexLock lock(mutex);
    for (auto& [name, found] : FindStates())
    {
        const auto known = states.find(name);
        const bool isKnown = known != states.end() && known->second.state == found.state;
        ModuleStatus status{.name = name,
                            .state = found.state,
                            .since = isKnown ? known->second.since : GetNow(),
                            .cause = found.cause,
                            .setupBegin = {},
                            .manifest = {},
                            .pageNames = {}};
        if (const auto entry = FindEntry(name))
        {
            status.setupBegin = entry->lifecycle.GetSetupBegin();
            status.manifest = entry->module.GetManifest();
            status.pageNames = entry->module.GetPageNames();
        }
        statuses.push_back(std::move(status));
    }
    return statuses;
}

void ModuleSupervisor::OnEpochChanged(const BasicString& providerName) noexcept
{
    const bool isLoss = ServiceManager::GetEpoch(providerName) == 0;
    bool isChange = false;
    {
        const MutexLock lock(mutex);
        isChange = isLoss ? lostProviders.insert(providerName).second : lostProviders.erase(providerName) > 0;
    }
    if (isChange)
    {
        const auto kind = isLoss ? NotificationKind::ServiceLost : NotificationKind::ServiceBack;
        notifications.Publish({{}, kind, "Host.Modules", {}, providerName, {}});
    }
    PostUpdate();
}

void ModuleSupervisor::PostUpdate() noexcept
{
    try
    {
        boost::asio::post(loop.GetContext(), [this] { Update(); });
    }
    catch (...)
    {
        Log(LogLevel::Error, "modules are not supervised: {0}", System::Commons::DescribeCurrentException());
    }
}

void ModuleSupervisor::Update()
{
    auto next = Clock::time_point::max();
    {
        const MutexLock lock(mutex);
        if (!isStarted)
        {
            return;
        }
        AddMissing();
        next = BeginDueWork(Clock::now());
    }
    PublishStates();
    if (next == Clock::time_point::max())
    {
        return;
    }
    timer.expires_at(next);
    timer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                Update();
            }
        });
}

/// One of a name that a module has which leaves is added after that one.
void ModuleSupervisor::AddMissing()
{
    for (const ModuleManifest& manifest : wanted.manifests)
    {
        if (!FindEntry(manifest.name))
        {
            entries.push_back(std::make_shared<Entry>(manifest, *this, !isStarted));
        }
    }
}

/// Begins when no set-up and no request is in progress.
void ModuleSupervisor::TryRemove(const std::shared_ptr<Entry>& entry)
{
    if (!entry->isLeaving && !entry->lifecycle.GetSetupBegin() && entry->module.GetGate().TryClose())
    {
        boost::asio::post(loop.GetContext(), [this, entry] { Remove(entry); });
        entry->isLeaving = true;
    }
}

/// When the next set-up is due.
ModuleSupervisor::Clock::time_point ModuleSupervisor::BeginDueWork(Clock::time_point now)
{
    auto next = Clock::time_point::max();
    for (const auto& entry : entries)
    {
        ModuleLifecycle& lifecycle = entry->lifecycle;
        ModuleGate& gate = entry->module.GetGate();
        if (!IsWanted(*entry))
        {
            TryRemove(entry);
            continue;
        }
        const auto due = lifecycle.FindDueTime(&ServiceManager::GetEpoch);
        if (due && *due > now)
        {
            next = std::min(next, *due);
        }
        else if (due && gate.TryClose())
        {
            boost::asio::post(loop.GetContext(),
                              [this, entry, isFirst = !lifecycle.HasEnded()] { SetUp(*entry, isFirst); });
            lifecycle.BeginSetup(now);
        }
    }
    return next;
}

void ModuleSupervisor::SetUp(Entry& entry, bool isFirst)
{
    const Threads::EventLoop::BlockingSection call(loop);
    HostedModule& module = entry.module;
    const BasicString& name = module.GetManifest().name;
    std::exception_ptr settingsFault;
    auto outcome = Outcome::Failed;
    try
    {
        outcome = module.SetUp(appDomain);
    }
    catch (const System::Commons::XmlException& exception)
    {
        if (isFirst && entry.isInitial)
        {
            settingsFault = std::current_exception();
        }
        else
        {
            module.Report(exception);
        }
    }
    catch (...)
    {
        Log(LogLevel::Error, "the module '{0}' cannot be set up: {1}", name,
            System::Commons::DescribeCurrentException());
    }
    if (!isFirst && outcome != Outcome::Failed)
    {
        Log(LogLevel::Notice, "the module '{0}' was set up again", name);
    }
    {
        const MutexLock lock(mutex);
        entry.failure = module.GetFailure();
        entry.lifecycle.EndSetup(Clock::now(), module.GetEpochs(), outcome);
        // Under the same lock: else the next set-up could begin in between, with a gate that is then opened.
        module.GetGate().Open(module.GetEpochs());
    }
    ReportFirstSetups(settingsFault);
    PostUpdate();
}

void ModuleSupervisor::Remove(const std::shared_ptr<Entry>& entry)
{
    const Threads::EventLoop::BlockingSection call(loop);
    entry->module.Unload();
    {
        const MutexLock lock(mutex);
        std::erase(entries, entry);
    }
    Log(LogLevel::Notice, "the module '{0}' was unloaded", entry->module.GetManifest().name);
    ReportFirstSetups(nullptr);
    PostUpdate();
}

void ModuleSupervisor::ReportFirstSetups(const std::exception_ptr& settingsFault)
{
    WhenSetUp report;
    {
        const MutexLock lock(mutex);
        if (settingsFault ||
            std::ranges::all_of(entries, [](const auto& entry) { return entry->lifecycle.HasEnded(); }))
        {
            report.swap(whenSetUp);
        }
    }
    if (report)
    {
        boost::asio::post(loop.GetContext(), [report = std::move(report), settingsFault] { report(settingsFault); });
    }
}

System::Nm::Notification ModuleSupervisor::MakeNotification(const BasicString& name, const KnownState& state)
{
    System::Nm::Notification notification;
    notification.time = state.since;
    notification.kind = NotificationKind::ModuleStateChanged;
    notification.source = "Host.Modules";
    notification.text = name;
    notification.fields = {{"state", BasicString(GetModuleStateName(state.state))}};
    if (!state.cause.empty())
    {
        notification.fields.emplace_back("cause", state.cause);
    }
    return notification;
}

void ModuleSupervisor::PublishStates()
{
    std::vector<System::Nm::Notification> changes;
    {
        const MutexLock lock(mutex);
        auto found = FindStates();
        for (const auto& [name, known] : states)
        {
            if (known.state != ModuleState::Stopped)
            {
                found.try_emplace(name, KnownState{ModuleState::Stopped, {}});
            }
        }
        for (auto& [name, state] : found)
        {
            const auto known = states.find(name);
            const bool isKnown = known != states.end() && known->second.state == state.state;
            state.since = isKnown ? known->second.since : GetNow();
            if (IsSettled(state.state) && !(isKnown && known->second.cause == state.cause))
            {
                changes.push_back(MakeNotification(name, state));
            }
        }
        states.swap(found);
    }
    for (auto& change : changes)
    {
        notifications.Publish(std::move(change));
    }
}

bool ModuleSupervisor::IsWanted(const Entry& entry) const
{
    return std::ranges::find(wanted.manifests, entry.module.GetManifest()) != wanted.manifests.end();
}

/// Null for an unknown name.
std::shared_ptr<ModuleSupervisor::Entry> ModuleSupervisor::FindEntry(std::string_view name) const
{
    const auto found =
        std::ranges::find_if(entries, [name](const auto& entry) { return entry->module.GetManifest().name == name; });
    return found == entries.end() ? nullptr : *found;
}

ModuleSupervisor::KnownState ModuleSupervisor::FindState(Entry& entry) const
{
    const ModuleLifecycle& lifecycle = entry.lifecycle;
    if (!IsWanted(entry))
    {
        return {ModuleState::Stopping, {}};
    }
    if (lifecycle.GetSetupBegin() || !lifecycle.HasEnded())
    {
        return {ModuleState::Starting, {}};
    }
    if (lifecycle.HasFailed())
    {
        return {ModuleState::Failed, entry.failure};
    }
    for (const auto& [providerName, epoch] : lifecycle.GetEpochs())
    {
        if (ServiceManager::GetEpoch(providerName) == 0)
        {
            return {ModuleState::Waiting, Format("the services of '{0}' are not available", providerName)};
        }
    }
    if (!lifecycle.IsComplete())
    {
        return {ModuleState::Waiting, "not everything that it provides is available"};
    }
    return entry.module.GetGate().IsOpen() ? KnownState{ModuleState::Running, {}}
                                           : KnownState{ModuleState::Waiting, "its services are those of another run"};
}

std::map<BasicString, ModuleSupervisor::KnownState> ModuleSupervisor::FindStates() const
{
    std::map<BasicString, KnownState> found;
    for (const auto& entry : entries)
    {
        found.emplace(entry->module.GetManifest().name, FindState(*entry));
    }
    for (const ManifestFault& fault : wanted.faults)
    {
        const auto [each, isNew] = found.try_emplace(fault.moduleName, KnownState{ModuleState::Refused, fault.cause});
        if (!isNew)
        {
            BasicString& cause = each->second.cause;
            cause += (cause.empty() ? "" : "; ") + BasicString("its new manifest is refused: ") + fault.cause;
        }
    }
    return found;
}

} // namespace Oxa::Host::Modules
