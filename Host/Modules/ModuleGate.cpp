#include "Host/Modules/ModuleGate.hpp"

#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Host::Modules
{

using System::Commons::MutexLock;

namespace
{

bool AreCurrent(const ModuleLifecycle::Epochs& epochs)
{
    return std::ranges::all_of(epochs, [](const auto& each)
                               { return System::Rsc::ServiceManager::GetEpoch(each.first) == each.second; });
}

} // namespace

ModuleGate::ModuleGate(std::size_t order, std::function<void()> whenEmpty)
    : order(order), whenEmpty(std::move(whenEmpty))
{
}

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

void ModuleGate::Open(ModuleLifecycle::Epochs newEpochs)
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
