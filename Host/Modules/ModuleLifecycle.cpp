#include "Host/Modules/ModuleLifecycle.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Host::Modules
{

std::optional<ModuleLifecycle::Clock::time_point> ModuleLifecycle::FindDueTime(const GetEpoch& getEpoch) const
{
    if (isUnderWay)
    {
        return std::nullopt;
    }
    if (!outcome)
    {
        return Clock::time_point::min();
    }
    bool isAnyMissing = false;
    for (const auto& [providerName, epoch] : epochs)
    {
        const uint64 current = getEpoch(providerName);
        if (current != 0 && current != epoch)
        {
            return begin + minimumInterval;
        }
        isAnyMissing = isAnyMissing || current == 0;
    }
    // Without services that it could wait for, whether a module is available is its own business.
    const bool mayImprove = outcome == Outcome::Incomplete && !isAnyMissing && !epochs.empty();
    return outcome == Outcome::Failed || mayImprove ? std::make_optional(nextAttempt) : std::nullopt;
}

void ModuleLifecycle::BeginSetup(Clock::time_point now)
{
    isUnderWay = true;
    begin = now;
}

void ModuleLifecycle::EndSetup(Clock::time_point now, Epochs newEpochs, Outcome newOutcome)
{
    isUnderWay = false;
    epochs = std::move(newEpochs);
    outcome = newOutcome;
    nextAttempt = now + pause;
    pause = outcome == Outcome::Complete ? minimumInterval : std::min(2 * pause, maximumPause);
}

std::optional<ModuleLifecycle::Clock::time_point> ModuleLifecycle::GetSetupBegin() const
{
    return isUnderWay ? std::make_optional(begin) : std::nullopt;
}

} // namespace Oxa::Host::Modules
