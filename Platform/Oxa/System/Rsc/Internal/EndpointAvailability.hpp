#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"

#include <map>
#include <optional>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

class EndpointSignal;

/// Which services an endpoint is asked for, and which of them were there when they were called or probed last. Owned by
/// the endpoint, whose signal it borrows: wakes the watch when services become unavailable.
/// Threads: safe from any thread.
class EndpointAvailability final
{
public:
    /// An attempt to find the services that are not there.
    struct Recovery
    {
        std::vector<BasicString> soughtInterfaces;
        uint64 losses;
    };

    explicit EndpointAvailability(EndpointSignal& signal) noexcept;
    EndpointAvailability(const EndpointAvailability&) = delete;
    EndpointAvailability& operator=(const EndpointAvailability&) = delete;
    ~EndpointAvailability();

    /// The service is one that this process uses.
    void NoteRequired(const BasicString& interfaceName);
    /// None when no service was asked for yet.
    [[nodiscard]] std::optional<BasicString> TryGetAnyRequired() const;

    /// The connection was lost. Does not wake the watch: it could not connect before the loss has been reported.
    void NoteLost();
    /// The process could not be reached.
    void NoteUnavailable();
    /// The process said that it does not provide the service.
    void NoteAbsent(const BasicString& interfaceName);
    /// The same, of a service that was called. False when this was known already.
    [[nodiscard]] bool NoteLost(const BasicString& interfaceName);
    void NoteFound(const BasicString& interfaceName);

    /// Whether a service is not there that is to be looked for.
    [[nodiscard]] bool IsUnavailable() const;

    [[nodiscard]] Recovery BeginRecovery() const;
    /// For when the process has answered for every service that was sought. True when services were found since the
    /// last time and none is awaited: that is one which was there once and may still come, for the process has said
    /// a few times only that it is not there.
    [[nodiscard]] bool TryEndRecovery(const Recovery& recovery);

    /// The process did not answer in time: for a moment it is not to be asked for other services, each of which would
    /// take as long.
    void NoteSilence();
    [[nodiscard]] bool IsSilent() const;

private:
    struct Service
    {
        bool isFound = false;
        bool wasEverFound = false;
        bool isLossKnown = false;
        /// In how many attempts in a row the process said that it is not there.
        unsigned absences = 0;
    };

    void LoseAll();
    [[nodiscard]] bool IsComplete() const;

    EndpointSignal& signal;
    mutable System::Commons::Mutex mutex;
    bool isUnavailable = false;
    /// Services were found since the last recovery.
    bool isNewsDue = false;
    /// How often something was lost.
    uint64 losses = 0;
    std::map<BasicString, Service> services;
    CallClock::time_point silentUntil;
};

} // namespace Oxa::System::Rsc::Internal
