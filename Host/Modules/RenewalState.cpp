#include "Host/Modules/RenewalState.hpp"

#include "Host/Modules/ManagedModule.hpp"

#include <algorithm>

namespace Oxa::Host::Modules
{

namespace
{

/// The longest time between two set-ups that fail is `minimumSetupInterval` doubled so many times.
constexpr unsigned maximumDoublings = 5;

} // namespace

bool RenewalState::HasUnconfirmedLoss(const ServiceHistory& services) const
{
    return std::any_of(confirmedProviders.begin(), confirmedProviders.end(),
                       [&services](const auto& confirmed)
                       { return services.GetCounts(confirmed.first).losses != confirmed.second.losses; });
}

bool RenewalState::CanBeConfirmed(const ServiceHistory& services) const
{
    return std::all_of(confirmedProviders.begin(), confirmedProviders.end(),
                       [this, &services](const auto& confirmed)
                       {
                           return services.GetCounts(confirmed.first).losses == confirmed.second.losses ||
                                  (identity && confirmed.first == GetIdentityProvider());
                       });
}

std::optional<RenewalState::Clock::time_point> RenewalState::FindDueTime(const ServiceHistory& services) const
{
    bool isAway = false;
    bool hasAppeared = false;
    for (const auto& [name, confirmed] : confirmedProviders)
    {
        const ServiceHistory::Counts counts = services.GetCounts(name);
        isAway = isAway || counts.isAway;
        hasAppeared = hasAppeared || counts.appearances != confirmed.appearances;
    }
    if (isBusy || isAway)
    {
        return std::nullopt;
    }
    if (HasUnconfirmedLoss(services))
    {
        return nextConfirmation;
    }
    if (isComplete || confirmedProviders.empty())
    {
        return std::nullopt;
    }
    if (hasAppeared || mayRecover)
    {
        return nextSetup;
    }
    return failures > 0 ? std::make_optional(nextRetry) : std::nullopt;
}

void RenewalState::Confirm(const ServiceHistory& services)
{
    unansweredQuestions = 0;
    for (auto& [name, confirmed] : confirmedProviders)
    {
        // The appearances stay: a module that is not complete is set up again because of them.
        confirmed.losses = services.GetCounts(name).losses;
    }
}

void RenewalState::RecordSetup(const ServiceHistory& before)
{
    for (const BasicString& name : module.GetProviderNames())
    {
        confirmedProviders[name] = before.GetCounts(name);
    }
    const Clock::time_point now = Clock::now();
    failures = module.HasFailed() ? failures + 1 : 0;
    unansweredQuestions = 0;
    nextSetup = now + minimumSetupInterval;
    nextRetry = now + minimumSetupInterval * (1U << std::min(failures, maximumDoublings));
    nextConfirmation = now;
}

} // namespace Oxa::Host::Modules
