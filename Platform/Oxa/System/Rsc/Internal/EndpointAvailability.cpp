#include "Oxa/System/Rsc/Internal/EndpointAvailability.hpp"

#include "Oxa/System/Rsc/Internal/EndpointSignal.hpp"

#include <chrono>
#include <mutex>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

constexpr std::chrono::milliseconds silencePause{500};

} // namespace

EndpointAvailability::EndpointAvailability(EndpointSignal& signal) noexcept : signal(signal) {}

EndpointAvailability::~EndpointAvailability() = default;

void EndpointAvailability::NoteRequired(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    requiredInterfaces.insert(interfaceName);
}

std::optional<BasicString> EndpointAvailability::TryGetAnyRequired() const
{
    const std::lock_guard lock(mutex);
    if (requiredInterfaces.empty())
    {
        return std::nullopt;
    }
    return *requiredInterfaces.begin();
}

void EndpointAvailability::NoteLost()
{
    const std::lock_guard lock(mutex);
    isUnavailable = true;
    ++losses;
}

void EndpointAvailability::NoteUnavailable()
{
    const std::lock_guard lock(mutex);
    ++losses;
    if (!std::exchange(isUnavailable, true))
    {
        signal.Wake();
    }
}

bool EndpointAvailability::NoteAbsent(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    if (!absentInterfaces.insert(interfaceName).second)
    {
        return false;
    }
    isUnavailable = true;
    ++losses;
    signal.Wake();
    return true;
}

void EndpointAvailability::NoteFound(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    absentInterfaces.erase(interfaceName);
}

bool EndpointAvailability::IsUnavailable() const
{
    const std::lock_guard lock(mutex);
    return isUnavailable;
}

EndpointAvailability::Recovery EndpointAvailability::BeginRecovery() const
{
    const std::lock_guard lock(mutex);
    return {requiredInterfaces, losses};
}

bool EndpointAvailability::TryEndRecovery(const Recovery& recovery)
{
    const std::lock_guard lock(mutex);
    const bool isComplete = losses == recovery.losses && requiredInterfaces == recovery.requiredInterfaces;
    isUnavailable = !isComplete;
    return isComplete;
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

} // namespace Oxa::System::Rsc::Internal
