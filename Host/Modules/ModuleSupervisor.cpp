#include "Host/Modules/ModuleSupervisor.hpp"

#include "Host/Modules/ModuleGate.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

// A module is in one of three states: waiting (its lifecycle has a due time, or waits for an epoch), being set up (the
// lifecycle is under way, the gate is closed), or open. `Update` moves it from the first to the second; it runs on the
// loop after everything that may change the outcome: an epoch, the end of a set-up, the end of a gate's last visit, the
// timer. `mutex` guards the lifecycles and is never held while a module is called; gates lock themselves inside it.

namespace Oxa::Host::Modules
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Nm::NotificationKind;
using System::Rsc::ServiceManager;
using Clock = ModuleLifecycle::Clock;
using Outcome = ModuleLifecycle::Outcome;

ModuleSupervisor::ModuleSupervisor(System::Commons::AppDomain& appDomain, ModuleRegistry& registry,
                                   Threads::EventLoop& loop, System::Nm::NotificationManager& notifications,
                                   const std::vector<Configuration::ModuleConfiguration>& configurations)
    : appDomain(appDomain), loop(loop), notifications(notifications), timer(loop.GetContext())
{
    for (const auto& configuration : configurations)
    {
        auto gate = std::make_shared<ModuleGate>(entries.size(), [this] { PostUpdate(); });
        entries.push_back(
            {std::make_unique<HostedModule>(configuration, std::move(gate), registry, notifications), {}});
    }
}

ModuleSupervisor::~ModuleSupervisor()
{
    StopAll();
    UnloadAll();
}

void ModuleSupervisor::Start(WhenSetUp newWhenSetUp)
{
    {
        const MutexLock lock(mutex);
        whenSetUp = std::move(newWhenSetUp);
        isListening = true;
    }
    ServiceManager::AddListener(*this);
    ReportFirstSetups(nullptr);
    PostUpdate();
}

void ModuleSupervisor::StopAll() noexcept
{
    bool wasListening = false;
    {
        const MutexLock lock(mutex);
        wasListening = std::exchange(isListening, false);
    }
    if (wasListening)
    {
        // Services that go at the end of the process are not lost.
        ServiceManager::RemoveListener(*this);
    }
    std::for_each(entries.rbegin(), entries.rend(), [](Entry& entry) { entry.module->TakeDown(); });
}

void ModuleSupervisor::UnloadAll() noexcept
{
    while (!entries.empty())
    {
        entries.pop_back();
    }
}

std::vector<ModuleSupervisor::ModuleState> ModuleSupervisor::GetStates() const
{
    std::vector<ModuleState> states;
    const MutexLock lock(mutex);
    for (const Entry& entry : entries)
    {
        states.push_back({entry.module->GetName(), entry.lifecycle.HasFailed(), entry.lifecycle.GetSetupBegin()});
    }
    return states;
}

void ModuleSupervisor::OnEpochChanged(const BasicString& providerName) noexcept
{
    const bool isLoss = ServiceManager::GetEpoch(providerName) == 0;
    bool isNews = false;
    {
        const MutexLock lock(mutex);
        isNews = isLoss ? lostProviders.insert(providerName).second : lostProviders.erase(providerName) > 0;
    }
    if (isNews)
    {
        notifications.Publish({{},
                               isLoss ? NotificationKind::ServiceLost : NotificationKind::ServiceBack,
                               "Host.Modules",
                               {},
                               providerName,
                               {}});
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
    const MutexLock lock(mutex);
    const auto now = Clock::now();
    auto next = Clock::time_point::max();
    for (Entry& entry : entries)
    {
        const auto due = entry.lifecycle.FindDueTime(&ServiceManager::GetEpoch);
        if (due && *due > now)
        {
            next = std::min(next, *due);
        }
        else if (due && entry.module->GetGate().TryClose())
        {
            BeginSetup(entry, now);
        }
    }
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

/// Requires: the mutex is held.
void ModuleSupervisor::BeginSetup(Entry& entry, Clock::time_point now)
{
    boost::asio::post(loop.GetContext(),
                      [this, &entry]
                      {
                          const Threads::EventLoop::BlockingSection call(loop);
                          SetUp(entry);
                      });
    entry.lifecycle.BeginSetup(now);
}

void ModuleSupervisor::SetUp(Entry& entry)
{
    std::exception_ptr settingsFault;
    auto outcome = Outcome::Failed;
    bool isFirst = false;
    {
        const MutexLock lock(mutex);
        isFirst = !entry.lifecycle.HasEnded();
    }
    try
    {
        outcome = entry.module->SetUp(appDomain);
    }
    catch (const System::Commons::XmlException& exception)
    {
        if (isFirst)
        {
            settingsFault = std::current_exception();
        }
        else
        {
            entry.module->Report(exception);
        }
    }
    catch (...)
    {
        Log(LogLevel::Error, "the module '{0}' cannot be set up: {1}", entry.module->GetName(),
            System::Commons::DescribeCurrentException());
    }
    if (!isFirst && outcome != Outcome::Failed)
    {
        Log(LogLevel::Notice, "the module '{0}' was set up again", entry.module->GetName());
    }
    {
        const MutexLock lock(mutex);
        entry.lifecycle.EndSetup(Clock::now(), entry.module->GetEpochs(), outcome);
    }
    entry.module->GetGate().Open(entry.module->GetEpochs());
    ReportFirstSetups(std::move(settingsFault));
    PostUpdate();
}

void ModuleSupervisor::ReportFirstSetups(std::exception_ptr settingsFault)
{
    WhenSetUp report;
    {
        const MutexLock lock(mutex);
        const bool isDone = std::ranges::all_of(entries, [](const Entry& each) { return each.lifecycle.HasEnded(); });
        if (settingsFault || isDone)
        {
            report.swap(whenSetUp);
        }
    }
    if (report)
    {
        boost::asio::post(loop.GetContext(),
                          [report = std::move(report), fault = std::move(settingsFault)] { report(fault); });
    }
}

} // namespace Oxa::Host::Modules
