#include "Oxa/System/Rsc/Internal/EndpointAvailability.hpp"

#include "Oxa/System/Rsc/Internal/EndpointSignal.hpp"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

constexpr std::chrono::milliseconds silencePause{500};
/// After these, a service that was there once counts as given up by its provider.
constexpr unsigned maximumAbsences = 4;

} // namespace

EndpointAvailability::EndpointAvailability(EndpointSignal& signal) noexcept : signal(signal) {}

EndpointAvailability::~EndpointAvailability() = default;

void EndpointAvailability::NoteRequired(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    services.try_emplace(interfaceName);
}

std::optional<BasicString> EndpointAvailability::TryGetAnyRequired() const
{
    const std::lock_guard lock(mutex);
    if (services.empty())
    {
        return std::nullopt;
    }
    return services.begin()->first;
}

void EndpointAvailability::NoteLost()
{
    const std::lock_guard lock(mutex);
    LoseAll();
    isUnavailable = true;
}

void EndpointAvailability::NoteUnavailable()
{
    const std::lock_guard lock(mutex);
    LoseAll();
    if (!std::exchange(isUnavailable, true))
    {
        signal.Wake();
    }
}

void EndpointAvailability::NoteAbsent(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    services[interfaceName].isFound = false;
    if (!std::exchange(isUnavailable, true))
    {
        signal.Wake();
    }
}

bool EndpointAvailability::NoteLost(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    Service& service = services[interfaceName];
    if (std::exchange(service.isLossKnown, true))
    {
        return false;
    }
    service.isFound = false;
    service.absences = 0;
    ++losses;
    isUnavailable = true;
    signal.Wake();
    return true;
}

void EndpointAvailability::NoteFound(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    Service& service = services[interfaceName];
    isNewsDue = isNewsDue || (isUnavailable && !service.isFound);
    service = {.isFound = true, .wasEverFound = true};
}

bool EndpointAvailability::IsUnavailable() const
{
    const std::lock_guard lock(mutex);
    return isUnavailable;
}

EndpointAvailability::Recovery EndpointAvailability::BeginRecovery() const
{
    const std::lock_guard lock(mutex);
    Recovery recovery{{}, losses};
    for (const auto& [name, service] : services)
    {
        if (!service.isFound)
        {
            recovery.soughtInterfaces.push_back(name);
        }
    }
    return recovery;
}

bool EndpointAvailability::TryEndRecovery(const Recovery& recovery)
{
    const std::lock_guard lock(mutex);
    if (losses != recovery.losses)
    {
        return false;
    }
    bool isAnyAwaited = false;
    for (const BasicString& name : recovery.soughtInterfaces)
    {
        Service& service = services[name];
        service.absences += service.isFound ? 0 : 1;
        isAnyAwaited = isAnyAwaited || (!service.isFound && service.wasEverFound && service.absences < maximumAbsences);
    }
    isUnavailable = !IsComplete();
    return !isAnyAwaited && std::exchange(isNewsDue, false);
}

void EndpointAvailability::NoteSilence()
{
    const std::lock_guard lock(mutex);
    silentUntil = CallClock::now() + silencePause;
}

bool EndpointAvailability::IsSilent() const
{
    const std::lock_guard lock(mutex);
    return CallClock::now() < silentUntil;
}

/// Requires: the mutex is held.
void EndpointAvailability::LoseAll()
{
    ++losses;
    isNewsDue = false;
    for (auto& [name, service] : services)
    {
        service.isFound = false;
        service.absences = 0;
    }
}

/// Requires: the mutex is held.
bool EndpointAvailability::IsComplete() const
{
    return std::all_of(services.begin(), services.end(), [](const auto& service) { return service.second.isFound; });
}

} // namespace Oxa::System::Rsc::Internal
