#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"

#include <optional>
#include <set>

namespace Oxa::System::Rsc::Internal
{

class EndpointSignal;

/// Which services an endpoint is asked for, and whether all of them were there when they were called or probed last.
/// Owned by the endpoint, whose signal it borrows: wakes the watch when services become unavailable.
/// Threads: safe from any thread.
class EndpointAvailability final
{
public:
    /// What has to be found before the endpoint counts as available again.
    struct Recovery
    {
        std::set<BasicString> requiredInterfaces;
        uint64 losses;
    };

    explicit EndpointAvailability(EndpointSignal& signal) noexcept;
    EndpointAvailability(const EndpointAvailability&) = delete;
    EndpointAvailability& operator=(const EndpointAvailability&) = delete;
    ~EndpointAvailability();

    /// From now on the endpoint is available only when it provides this service, too.
    void NoteRequired(const BasicString& interfaceName);
    /// None when no service was asked for yet.
    [[nodiscard]] std::optional<BasicString> TryGetAnyRequired() const;

    /// The connection was lost. Does not wake the watch: it could not connect before the loss has been reported.
    void NoteLost();
    /// A service could not be reached.
    void NoteUnavailable();
    /// The process said that it does not provide the service. False when it was known to be absent already.
    [[nodiscard]] bool NoteAbsent(const BasicString& interfaceName);
    void NoteFound(const BasicString& interfaceName);

    /// Whether a service was lost or not found, and there was no recovery since.
    [[nodiscard]] bool IsUnavailable() const;

    [[nodiscard]] Recovery BeginRecovery() const;
    /// For when all services that are required were found. False, and nothing changes, when one was lost or required
    /// in the meantime.
    [[nodiscard]] bool TryEndRecovery(const Recovery& recovery);

    /// The process did not answer in time: for a moment it is not to be asked for other services, each of which would
    /// take as long.
    void NoteSilence();
    [[nodiscard]] bool IsSilent() const;

private:
    EndpointSignal& signal;
    mutable System::Commons::Mutex mutex;
    bool isUnavailable = false;
    /// How often something was lost or not found.
    uint64 losses = 0;
    std::set<BasicString> requiredInterfaces;
    /// Of which the process said that it does not provide them.
    std::set<BasicString> absentInterfaces;
    CallClock::time_point silentUntil;
};

} // namespace Oxa::System::Rsc::Internal
