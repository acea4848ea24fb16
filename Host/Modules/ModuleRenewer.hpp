#pragma once

#include "Host/Modules/RenewalState.hpp"
#include "Host/Modules/ServiceHistory.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/steady_timer.hpp>

#include <list>

namespace Oxa::System::Nm
{
class NotificationManager;
enum class NotificationKind : uint16;
} // namespace Oxa::System::Nm

namespace Oxa::Host::Modules
{

class ManagedModule;

/// Sets modules up again when the services that they use come late or come back:
/// - One that failed or is not available after its set-up, when services of a provider that it asked appear; without
///   waiting for that when a call of a service failed, or none was missing. One that failed otherwise is tried again
///   too, since a service may throw anything while it starts, but more and more seldom.
/// - One whose provider was lost and came back, once, unless the device's identity shows that it is the same run of the
///   same services. From the loss until that is known its gate is closed.
/// At most once in `RenewalState::minimumSetupInterval`. A module that asked no such provider is left alone. Each
/// module is set up in a foreign call of its own on the event loop, so that one that hangs holds up nothing else. Owned
/// by the host's main part. Threads: `Add` one at a time, before the loop runs; the others from any thread.
class ModuleRenewer final : private System::Commons::Diagnostics::Logging::Loggable<ModuleRenewer>
{
public:
    /// Everything is borrowed.
    ModuleRenewer(Threads::EventLoop& loop, System::Nm::NotificationManager& notifications);
    ModuleRenewer(const ModuleRenewer&) = delete;
    ModuleRenewer& operator=(const ModuleRenewer&) = delete;

    /// Requires: the loop does not run any more.
    ~ModuleRenewer();

    /// Sets the module up for the first time and looks after it from then on; borrowed until the loop has ended. Throws
    /// XmlException when its settings cannot be read; the module is forgotten then.
    void Add(ManagedModule& module);

    /// The services of this provider are gone; what calls them next may reach another process.
    void NoteLoss(const BasicString& providerName) noexcept;

    /// The services of this provider can be had.
    void NoteAppearance(const BasicString& providerName) noexcept;

private:
    void ReportChange(System::Nm::NotificationKind kind, const BasicString& providerName) noexcept;
    [[nodiscard]] ServiceHistory GetServices() const;
    void PostDueWork() noexcept;
    void StartDueWork();
    void StartWork(RenewalState& state);
    void Work(RenewalState& state) noexcept;
    void ConfirmIdentity(RenewalState& state);
    void ResumeWithSameServices(RenewalState& state, const ServiceHistory& current);
    void SetUpWhenDue(RenewalState& state);
    void SetUpAgain(RenewalState& state);
    void FinishSetup(RenewalState& state, const ServiceHistory& before);

    Threads::EventLoop& loop;
    System::Nm::NotificationManager& notifications;

    mutable System::Commons::Mutex mutex;
    ServiceHistory services;
    std::list<RenewalState> states;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host::Modules
