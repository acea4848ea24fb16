#pragma once

#include "Host/Modules/DeviceIdentity.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <optional>

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
///   same services. From the loss until that is settled its gate is closed.
/// At most once in `lateInterval`. A module that asked no such provider is left alone. Each module is set up in a
/// foreign call of its own on the event loop, so that one that hangs holds up nothing else. Owned by the host's main
/// part. Threads: `Add` one at a time, before the loop runs; the others from any thread.
class ModuleRenewer final : private System::Commons::Diagnostics::Logging::Loggable<ModuleRenewer>
{
public:
    static constexpr std::chrono::seconds lateInterval{2};

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
    using Clock = std::chrono::steady_clock;

    /// How often the services of a provider went and came.
    struct Counts
    {
        std::uint64_t losses = 0;
        std::uint64_t appearances = 0;
        bool isAway = false;
    };

    using Providers = std::map<BasicString, Counts>;

    struct Care
    {
        explicit Care(ManagedModule& module) : module(module) {}

        ManagedModule& module;
        /// The providers that it has asked for services, as they were when it was set up or settled with them.
        Providers known;
        /// Of the device at the set-up; nothing when it has none or could not be asked.
        std::optional<DeviceIdentity> identity;
        /// The last set-up was all that the module needs.
        bool isComplete = true;
        /// Another one may be, also when no services appear.
        bool mayRecover = false;
        /// Somebody is at it.
        bool isBusy = true;
        /// How often in a row the set-up failed.
        unsigned failures = 0;
        /// How often in a row a device that was back could not be asked for its identity.
        unsigned unansweredQuestions = 0;
        Clock::time_point nextSettling;
        /// Not before, counted from the last one.
        Clock::time_point nextSetup;
        /// The same when nothing has changed since.
        Clock::time_point nextRetry;
    };

    void Note(System::Nm::NotificationKind kind, const BasicString& providerName, bool isNew) noexcept;
    [[nodiscard]] Providers GetProviders() const;
    [[nodiscard]] bool IsUnsettled(const Care& care) const;
    [[nodiscard]] std::optional<Clock::time_point> FindDueTime(const Care& care) const;
    void PostReview() noexcept;
    void Review();
    void StartWork(Care& care);
    void Work(Care& care) noexcept;
    void Settle(Care& care);
    void GoOn(Care& care, const Providers& current);
    void SetUpWhenDue(Care& care);
    void SetUpAgain(Care& care);
    void FinishSetup(Care& care, const Providers& before);

    Threads::EventLoop& loop;
    System::Nm::NotificationManager& notifications;

    mutable std::mutex mutex;
    Providers providers;
    std::list<Care> cares;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host::Modules
