#include "Host/Modules/ModuleLifecycle.hpp"

#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <algorithm>
#include <utility>

// A gate is closed, open or closing. It is open between a set-up and the next one, and then admits calls as long as the
// epochs are current; it is closing while a set-up waits for the last visit to end. Its lock guards these states and is
// never held while the module or `whenEmpty` is called.

namespace Oxa::Host::Modules
{

using System::Commons::MutexLock;

namespace
{

bool AreCurrent(const Epochs& epochs)
{
    return std::ranges::all_of(epochs, [](const auto& each)
                               { return System::Rsc::ServiceManager::GetEpoch(each.first) == each.second; });
}

} // namespace

std::optional<ModuleLifecycle::Clock::time_point> ModuleLifecycle::FindDueTime(const GetEpoch& getEpoch) const
{
    if (isInProgress)
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
    // Without services that it could wait for, whether a module is available does not depend on its set-up.
    const bool mayImprove = outcome == Outcome::Incomplete && !isAnyMissing && !epochs.empty();
    return outcome == Outcome::Failed || mayImprove ? std::make_optional(backoff.GetNext()) : std::nullopt;
}

void ModuleLifecycle::BeginSetup(Clock::time_point now)
{
    isInProgress = true;
    begin = now;
}

void ModuleLifecycle::EndSetup(Clock::time_point now, Epochs newEpochs, Outcome newOutcome)
{
    isInProgress = false;
    epochs = std::move(newEpochs);
    outcome = newOutcome;
    if (outcome == Outcome::Complete)
    {
        backoff.Reset();
    }
    else
    {
        backoff.Delay(now);
    }
}

ModuleGate::ModuleGate(std::function<void()> whenEmpty) : whenEmpty(std::move(whenEmpty)) {}

bool ModuleGate::IsOpen() const
{
    const MutexLock lock(mutex);
    return isSetUp && AreCurrent(epochs);
}

bool ModuleGate::TryClose()
{
    const MutexLock lock(mutex);
    isClosingWanted = visits > 0;
    isSetUp = isSetUp && visits > 0;
    return visits == 0;
}

void ModuleGate::Open(Epochs newEpochs)
{
    const MutexLock lock(mutex);
    epochs = std::move(newEpochs);
    isSetUp = true;
}

/// A module that waits to be set up again, although its services have not changed, admits no further calls: under
/// continuous load it would never be empty.
bool ModuleGate::TryEnter()
{
    const MutexLock lock(mutex);
    const bool isAdmitted = isSetUp && !isClosingWanted && AreCurrent(epochs);
    visits += isAdmitted ? 1 : 0;
    return isAdmitted;
}

void ModuleGate::Leave() noexcept
{
    {
        const MutexLock lock(mutex);
        if (--visits > 0 || !std::exchange(isClosingWanted, false))
        {
            return;
        }
    }
    whenEmpty();
}

} // namespace Oxa::Host::Modules
