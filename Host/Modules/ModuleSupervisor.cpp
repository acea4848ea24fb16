#include "Host/Modules/ModuleSupervisor.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

// A module is in one of three states: waiting (its lifecycle has a due time, or waits for an epoch), being set up (the
// lifecycle's set-up is in progress, the gate is closed), or open. `Update` moves it from the first to the second; it
// runs on the loop after everything that may change the outcome: an epoch, the end of a set-up, the end of a gate's
// last visit, the timer. `mutex` guards the lifecycles and is never held while a module is called; gates lock
// themselves inside it.

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
        modules.push_back(
            std::make_unique<HostedModule>(configuration, registry, notifications, [this] { PostUpdate(); }));
        lifecycles[modules.back().get()];
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
    std::for_each(modules.rbegin(), modules.rend(), [](const auto& module) { module->TakeDown(); });
}

void ModuleSupervisor::UnloadAll() noexcept
{
    while (!modules.empty())
    {
        modules.pop_back();
    }
}

std::vector<ModuleSupervisor::ModuleState> ModuleSupervisor::GetStates() const
{
    std::vector<ModuleState> states;
    const MutexLock lock(mutex);
    for (const auto& module : modules)
    {
        const ModuleLifecycle& lifecycle = lifecycles.at(module.get());
        states.push_back({module->GetName(), lifecycle.HasFailed(), lifecycle.GetSetupBegin()});
    }
    return states;
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
    const auto next = BeginDueSetups(Clock::now());
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

/// When the next set-up is due.
Clock::time_point ModuleSupervisor::BeginDueSetups(Clock::time_point now)
{
    auto next = Clock::time_point::max();
    const MutexLock lock(mutex);
    for (const auto& module : modules)
    {
        ModuleLifecycle& lifecycle = lifecycles.at(module.get());
        const auto due = lifecycle.FindDueTime(&ServiceManager::GetEpoch);
        if (due && *due > now)
        {
            next = std::min(next, *due);
        }
        else if (due && module->GetGate().TryClose())
        {
            boost::asio::post(loop.GetContext(),
                              [this, &module = *module, isFirst = !lifecycle.HasEnded()] { SetUp(module, isFirst); });
            lifecycle.BeginSetup(now);
        }
    }
    return next;
}

void ModuleSupervisor::SetUp(HostedModule& module, bool isFirst)
{
    const Threads::EventLoop::BlockingSection call(loop);
    std::exception_ptr settingsFault;
    auto outcome = Outcome::Failed;
    try
    {
        outcome = module.SetUp(appDomain);
    }
    catch (const System::Commons::XmlException& exception)
    {
        if (isFirst)
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
        Log(LogLevel::Error, "the module '{0}' cannot be set up: {1}", module.GetName(),
            System::Commons::DescribeCurrentException());
    }
    if (!isFirst && outcome != Outcome::Failed)
    {
        Log(LogLevel::Notice, "the module '{0}' was set up again", module.GetName());
    }
    {
        const MutexLock lock(mutex);
        lifecycles.at(&module).EndSetup(Clock::now(), module.GetEpochs(), outcome);
        // Under the same lock: else the next set-up could begin in between, with a gate that is then opened.
        module.GetGate().Open(module.GetEpochs());
    }
    ReportFirstSetups(settingsFault);
    PostUpdate();
}

void ModuleSupervisor::ReportFirstSetups(const std::exception_ptr& settingsFault)
{
    WhenSetUp report;
    {
        const MutexLock lock(mutex);
        if (settingsFault || std::ranges::all_of(lifecycles, [](const auto& each) { return each.second.HasEnded(); }))
        {
            report.swap(whenSetUp);
        }
    }
    if (report)
    {
        boost::asio::post(loop.GetContext(), [report = std::move(report), settingsFault] { report(settingsFault); });
    }
}

} // namespace Oxa::Host::Modules
