#pragma once

#include "Host/Modules/DeviceIdentity.hpp"
#include "Host/Modules/ServiceHistory.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <map>
#include <optional>

namespace Oxa::Host::Modules
{

class ManagedModule;

/// What the renewer knows of one module, and what follows from it. Owned by the renewer, whose lock guards it.
struct RenewalState
{
    using Clock = std::chrono::steady_clock;

    /// Between two set-ups of a module there is at least this time.
    static constexpr std::chrono::seconds minimumSetupInterval{2};

    /// Borrowed.
    explicit RenewalState(ManagedModule& module) : module(module) {}

    /// Whether a provider was lost since it was confirmed.
    [[nodiscard]] bool HasUnconfirmedLoss(const ServiceHistory& services) const;

    /// Whether the device's identity can show that all providers that were lost are the same as before.
    [[nodiscard]] bool CanBeConfirmed(const ServiceHistory& services) const;

    /// When something is to be done about the module; nothing: not before the next event.
    [[nodiscard]] std::optional<Clock::time_point> FindDueTime(const ServiceHistory& services) const;

    /// The services are the same as before, as far as `services` tells.
    void Confirm(const ServiceHistory& services);

    /// The module was set up while the services were as `before` tells.
    void RecordSetup(const ServiceHistory& before);

    ManagedModule& module;
    /// The providers that the module has asked for services, as they were when it was set up or when their identity was
    /// confirmed.
    std::map<BasicString, ServiceHistory::Counts> confirmedProviders;
    /// Of the device at the set-up; nothing when it has none or could not be asked.
    std::optional<DeviceIdentity> identity;
    /// Everything was available after the last set-up.
    bool isComplete = true;
    /// A new set-up may succeed even if no service appears.
    bool mayRecover = false;
    /// A set-up or an identity check is in progress.
    bool isBusy = true;
    /// How often in a row the set-up failed.
    unsigned failures = 0;
    /// How often in a row a device that was back could not be asked for its identity.
    unsigned unansweredQuestions = 0;
    /// The identity is not checked before this time.
    Clock::time_point nextConfirmation;
    /// The module is not set up before this time, when there is a reason to expect that it succeeds.
    Clock::time_point nextSetup;
    /// The same when there is none, because nothing has changed since the last set-up failed.
    Clock::time_point nextRetry;
};

} // namespace Oxa::Host::Modules
