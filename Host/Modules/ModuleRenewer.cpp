#include "Host/Modules/ModuleRenewer.hpp"

#include "Host/Modules/ManagedModule.hpp"
#include "Host/Modules/ModuleGate.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

namespace Oxa::Host::Modules
{

using System::Commons::Diagnostics::Logging::LogLevel;
using System::Nm::NotificationKind;

namespace
{

/// A device that has come back and cannot be asked for its identity yet is asked again after this time, and taken for
/// another one after so many times.
constexpr std::chrono::milliseconds confirmationInterval{500};
constexpr unsigned maximumUnansweredQuestions = 4;

using Clock = RenewalState::Clock;

} // namespace

ModuleRenewer::ModuleRenewer(Threads::EventLoop& loop, System::Nm::NotificationManager& notifications)
    : loop(loop), notifications(notifications), timer(loop.GetContext())
{
}

ModuleRenewer::~ModuleRenewer() = default;

void ModuleRenewer::Add(ManagedModule& module)
{
    RenewalState* state = nullptr;
    ServiceHistory before;
    {
        const std::lock_guard lock(mutex);
        state = &states.emplace_back(module);
        before = services;
    }
    try
    {
        module.SetUp();
    }
    catch (...)
    {
        const std::lock_guard lock(mutex);
        states.pop_back();
        throw;
    }
    FinishSetup(*state, before);
    {
        const std::lock_guard lock(mutex);
        state->isBusy = false;
    }
    PostDueWork();
}

void ModuleRenewer::NoteLoss(const BasicString& providerName) noexcept
{
    bool isNew = false;
    {
        const std::lock_guard lock(mutex);
        isNew = services.AddLoss(providerName);
        for (RenewalState& state : states)
        {
            if (state.confirmedProviders.contains(providerName))
            {
                state.module.GetGate().Close();
            }
        }
    }
    if (isNew)
    {
        ReportChange(NotificationKind::ServiceLost, providerName);
    }
}

void ModuleRenewer::NoteAppearance(const BasicString& providerName) noexcept
{
    bool isNew = false;
    {
        const std::lock_guard lock(mutex);
        isNew = services.AddAppearance(providerName);
    }
    if (isNew)
    {
        ReportChange(NotificationKind::ServiceBack, providerName);
    }
    PostDueWork();
}

void ModuleRenewer::ReportChange(NotificationKind kind, const BasicString& providerName) noexcept
{
    const bool isLoss = kind == NotificationKind::ServiceLost;
    Log(isLoss ? LogLevel::Warning : LogLevel::Notice, "the services of '{0}' {1}", providerName,
        isLoss ? "are lost" : "are back");
    notifications.Publish({{}, kind, "Host.Modules", {}, providerName, {}});
}

ServiceHistory ModuleRenewer::GetServices() const
{
    const std::lock_guard lock(mutex);
    return services;
}

void ModuleRenewer::PostDueWork() noexcept
{
    try
    {
        boost::asio::post(loop.GetContext(), [this] { StartDueWork(); });
    }
    catch (...)
    {
        Log(LogLevel::Error, "modules are not looked after: {0}", System::Commons::DescribeCurrentException());
    }
}

/// Puts to work whatever is due, and wakes up again for the rest.
void ModuleRenewer::StartDueWork()
{
    const std::lock_guard lock(mutex);
    const Clock::time_point now = Clock::now();
    auto next = Clock::time_point::max();
    for (RenewalState& state : states)
    {
        const auto due = state.FindDueTime(services);
        if (due && *due <= now)
        {
            StartWork(state);
        }
        else if (due)
        {
            next = std::min(next, *due);
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
                StartDueWork();
            }
        });
}

/// Requires: the mutex is held.
void ModuleRenewer::StartWork(RenewalState& state)
{
    boost::asio::post(loop.GetContext(),
                      [this, &state]
                      {
                          const Threads::EventLoop::ForeignCall call(loop);
                          Work(state);
                      });
    state.isBusy = true;
}

void ModuleRenewer::Work(RenewalState& state) noexcept
{
    try
    {
        bool hasLoss = false;
        {
            const std::lock_guard lock(mutex);
            // In case that it fails: not again at once.
            state.nextConfirmation = Clock::now() + confirmationInterval;
            hasLoss = state.HasUnconfirmedLoss(services);
        }
        hasLoss ? ConfirmIdentity(state) : SetUpAgain(state);
    }
    catch (...)
    {
        Log(LogLevel::Error, "the module '{0}' is not set up again: {1}", state.module.GetName(),
            System::Commons::DescribeCurrentException());
    }
    {
        const std::lock_guard lock(mutex);
        state.isBusy = false;
    }
    PostDueWork();
}

/// Finds out whether the services that are back are the same.
void ModuleRenewer::ConfirmIdentity(RenewalState& state)
{
    const ServiceHistory current = GetServices();
    if (!state.CanBeConfirmed(current))
    {
        SetUpWhenDue(state);
        return;
    }
    const auto identity = TryReadDeviceIdentity();
    if (identity && identity == state.identity)
    {
        ResumeWithSameServices(state, current);
    }
    else if (identity || ++state.unansweredQuestions >= maximumUnansweredQuestions)
    {
        SetUpWhenDue(state);
    }
}

/// Services that die at each set-up must not make it one after the other.
void ModuleRenewer::SetUpWhenDue(RenewalState& state)
{
    {
        const std::lock_guard lock(mutex);
        if (Clock::now() < state.nextSetup)
        {
            state.nextConfirmation = state.nextSetup;
            return;
        }
    }
    SetUpAgain(state);
}

void ModuleRenewer::ResumeWithSameServices(RenewalState& state, const ServiceHistory& current)
{
    Log(LogLevel::Notice, "the module '{0}' goes on with the same services", state.module.GetName());
    const std::lock_guard lock(mutex);
    state.Confirm(current);
    if (!state.HasUnconfirmedLoss(services))
    {
        state.module.GetGate().Open();
    }
}

void ModuleRenewer::SetUpAgain(RenewalState& state)
{
    {
        const std::lock_guard lock(mutex);
        state.nextSetup = Clock::now() + RenewalState::minimumSetupInterval;
    }
    state.module.GetGate().Close();
    state.module.GetGate().WaitUntilEmpty();
    const ServiceHistory before = GetServices();
    state.module.SetUpAgain();
    FinishSetup(state, before);
    if (!state.module.HasFailed())
    {
        Log(LogLevel::Notice, "the module '{0}' was set up again", state.module.GetName());
    }
}

/// `before`: as it was before the set-up. For what was lost meanwhile the identity is checked next.
void ModuleRenewer::FinishSetup(RenewalState& state, const ServiceHistory& before)
{
    const bool usesDevice = state.module.GetProviderNames().contains(GetIdentityProvider());
    auto identity = usesDevice ? TryReadDeviceIdentity() : std::nullopt;
    const bool isComplete = state.module.IsAvailable();
    const bool mayRecover = state.module.MayRecover();
    const std::lock_guard lock(mutex);
    state.RecordSetup(before);
    const bool hasLoss = state.HasUnconfirmedLoss(services);
    // After a loss during the set-up the identity may be of a device that the module has not seen.
    state.identity = hasLoss || !identity || identity->bootId.empty() ? std::nullopt : std::move(identity);
    state.isComplete = isComplete;
    state.mayRecover = mayRecover;
    if (hasLoss)
    {
        state.module.GetGate().Close();
    }
    else
    {
        state.module.GetGate().Open();
    }
}

} // namespace Oxa::Host::Modules
