#include "Host/Modules/ModuleRenewer.hpp"

#include "Host/Modules/ManagedModule.hpp"
#include "Host/Modules/ModuleGate.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

namespace Oxa::Host::Modules
{

using System::Commons::Diagnostics::Logging::LogLevel;
using System::Nm::NotificationKind;

namespace
{

/// A device that has come back and cannot be asked for its identity yet is asked again after this time, and taken for
/// another one after so many times.
constexpr std::chrono::milliseconds settlingInterval{500};
constexpr unsigned maximumUnansweredQuestions = 4;
/// The longest time between two attempts is `lateInterval` doubled so many times.
constexpr unsigned maximumDoublings = 5;

} // namespace

ModuleRenewer::ModuleRenewer(Threads::EventLoop& loop, System::Nm::NotificationManager& notifications)
    : loop(loop), notifications(notifications), timer(loop.GetContext())
{
}

ModuleRenewer::~ModuleRenewer() = default;

void ModuleRenewer::Add(ManagedModule& module)
{
    Care* care = nullptr;
    Providers before;
    {
        const std::lock_guard lock(mutex);
        care = &cares.emplace_back(module);
        before = providers;
    }
    try
    {
        module.SetUp();
    }
    catch (...)
    {
        const std::lock_guard lock(mutex);
        cares.pop_back();
        throw;
    }
    FinishSetup(*care, before);
    {
        const std::lock_guard lock(mutex);
        care->isBusy = false;
    }
    PostReview();
}

void ModuleRenewer::NoteLoss(const BasicString& providerName) noexcept
{
    bool isNew = false;
    {
        const std::lock_guard lock(mutex);
        Counts& counts = providers[providerName];
        ++counts.losses;
        isNew = !std::exchange(counts.isAway, true);
        for (Care& care : cares)
        {
            if (care.known.contains(providerName))
            {
                care.module.GetGate().Close();
            }
        }
    }
    Note(NotificationKind::ServiceLost, providerName, isNew);
}

void ModuleRenewer::NoteAppearance(const BasicString& providerName) noexcept
{
    bool isNew = false;
    {
        const std::lock_guard lock(mutex);
        Counts& counts = providers[providerName];
        ++counts.appearances;
        isNew = std::exchange(counts.isAway, false);
    }
    Note(NotificationKind::ServiceBack, providerName, isNew);
    PostReview();
}

void ModuleRenewer::Note(NotificationKind kind, const BasicString& providerName, bool isNew) noexcept
{
    if (!isNew)
    {
        return;
    }
    const bool isLoss = kind == NotificationKind::ServiceLost;
    Log(isLoss ? LogLevel::Warning : LogLevel::Notice, "the services of '{0}' {1}", providerName,
        isLoss ? "are lost" : "are back");
    notifications.Publish({{}, kind, "Host.Modules", {}, providerName, {}});
}

ModuleRenewer::Providers ModuleRenewer::GetProviders() const
{
    const std::lock_guard lock(mutex);
    return providers;
}

/// Whether a provider was lost since the module was settled with it. Requires: the mutex is held.
bool ModuleRenewer::IsUnsettled(const Care& care) const
{
    return std::any_of(care.known.begin(), care.known.end(),
                       [this](const auto& known)
                       {
                           const auto found = providers.find(known.first);
                           return found != providers.end() && found->second.losses != known.second.losses;
                       });
}

/// When something is to be done about the module; nothing: not before the next event. Requires: the mutex is held.
std::optional<ModuleRenewer::Clock::time_point> ModuleRenewer::FindDueTime(const Care& care) const
{
    bool isAway = false;
    bool hasAppeared = false;
    for (const auto& [name, counts] : care.known)
    {
        const auto found = providers.find(name);
        if (found != providers.end())
        {
            isAway = isAway || found->second.isAway;
            hasAppeared = hasAppeared || found->second.appearances != counts.appearances;
        }
    }
    if (care.isBusy || isAway)
    {
        return std::nullopt;
    }
    if (IsUnsettled(care))
    {
        return care.nextSettling;
    }
    if (care.isComplete || care.known.empty())
    {
        return std::nullopt;
    }
    if (hasAppeared || care.mayRecover)
    {
        return care.nextSetup;
    }
    return care.failures > 0 ? std::make_optional(care.nextRetry) : std::nullopt;
}

void ModuleRenewer::PostReview() noexcept
{
    try
    {
        boost::asio::post(loop.GetContext(), [this] { Review(); });
    }
    catch (...)
    {
        Log(LogLevel::Error, "modules are not looked after: {0}", System::Commons::DescribeCurrentException());
    }
}

/// Puts to work whatever is due, and wakes up again for the rest.
void ModuleRenewer::Review()
{
    const std::lock_guard lock(mutex);
    const Clock::time_point now = Clock::now();
    auto next = Clock::time_point::max();
    for (Care& care : cares)
    {
        const auto due = FindDueTime(care);
        if (due && *due <= now)
        {
            StartWork(care);
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
                Review();
            }
        });
}

/// Requires: the mutex is held.
void ModuleRenewer::StartWork(Care& care)
{
    boost::asio::post(loop.GetContext(),
                      [this, &care]
                      {
                          const Threads::EventLoop::ForeignCall call(loop);
                          Work(care);
                      });
    care.isBusy = true;
}

void ModuleRenewer::Work(Care& care) noexcept
{
    try
    {
        bool isUnsettled = false;
        {
            const std::lock_guard lock(mutex);
            // In case that it fails: not again at once.
            care.nextSettling = Clock::now() + settlingInterval;
            isUnsettled = IsUnsettled(care);
        }
        isUnsettled ? Settle(care) : SetUpAgain(care);
    }
    catch (...)
    {
        Log(LogLevel::Error, "the module '{0}' is not set up again: {1}", care.module.GetName(),
            System::Commons::DescribeCurrentException());
    }
    {
        const std::lock_guard lock(mutex);
        care.isBusy = false;
    }
    PostReview();
}

/// Finds out whether the services that are back are the same.
void ModuleRenewer::Settle(Care& care)
{
    const Providers current = GetProviders();
    const bool canBeSame = std::all_of(care.known.begin(), care.known.end(),
                                       [&current, &care](const auto& known)
                                       {
                                           const auto found = current.find(known.first);
                                           return found == current.end() ||
                                                  found->second.losses == known.second.losses ||
                                                  (known.first == GetIdentityProvider() && care.identity);
                                       });
    if (!canBeSame)
    {
        SetUpWhenDue(care);
        return;
    }
    const auto identity = TryReadDeviceIdentity();
    if (identity && identity == care.identity)
    {
        GoOn(care, current);
    }
    else if (identity || ++care.unansweredQuestions >= maximumUnansweredQuestions)
    {
        SetUpWhenDue(care);
    }
}

/// Services that die at each set-up must not make it one after the other.
void ModuleRenewer::SetUpWhenDue(Care& care)
{
    {
        const std::lock_guard lock(mutex);
        if (Clock::now() < care.nextSetup)
        {
            care.nextSettling = care.nextSetup;
            return;
        }
    }
    SetUpAgain(care);
}

void ModuleRenewer::GoOn(Care& care, const Providers& current)
{
    Log(LogLevel::Notice, "the module '{0}' goes on with the same services", care.module.GetName());
    const std::lock_guard lock(mutex);
    care.unansweredQuestions = 0;
    for (auto& [name, counts] : care.known)
    {
        const auto found = current.find(name);
        counts.losses = found != current.end() ? found->second.losses : counts.losses;
    }
    if (!IsUnsettled(care))
    {
        care.module.GetGate().Open();
    }
}

void ModuleRenewer::SetUpAgain(Care& care)
{
    {
        const std::lock_guard lock(mutex);
        care.nextSetup = Clock::now() + lateInterval;
    }
    care.module.GetGate().Close();
    care.module.GetGate().WaitUntilEmpty();
    const Providers before = GetProviders();
    care.module.SetUpAgain();
    FinishSetup(care, before);
    if (!care.module.HasFailed())
    {
        Log(LogLevel::Notice, "the module '{0}' was set up again", care.module.GetName());
    }
}

/// `before`: as it was before the set-up. What was lost meanwhile is settled next.
void ModuleRenewer::FinishSetup(Care& care, const Providers& before)
{
    const auto& names = care.module.GetProviderNames();
    // Of what came back meanwhile it would be the wrong one; then it is not compared, for that loss is not settled.
    auto identity = names.contains(GetIdentityProvider()) ? TryReadDeviceIdentity() : std::nullopt;
    if (identity && identity->bootId.empty())
    {
        identity.reset();
    }
    const bool isComplete = care.module.IsAvailable();
    const bool mayRecover = care.module.MayRecover();
    const std::lock_guard lock(mutex);
    for (const BasicString& name : names)
    {
        const auto found = before.find(name);
        care.known[name] = found != before.end() ? found->second : Counts();
    }
    const bool isUnsettled = IsUnsettled(care);
    care.identity = isUnsettled ? std::nullopt : std::move(identity);
    care.isComplete = isComplete;
    care.mayRecover = mayRecover;
    care.failures = care.module.HasFailed() ? care.failures + 1 : 0;
    care.unansweredQuestions = 0;
    care.nextSetup = Clock::now() + lateInterval;
    care.nextRetry = Clock::now() + lateInterval * (1U << std::min(care.failures, maximumDoublings));
    care.nextSettling = Clock::now();
    if (isUnsettled)
    {
        care.module.GetGate().Close();
    }
    else
    {
        care.module.GetGate().Open();
    }
}

} // namespace Oxa::Host::Modules
