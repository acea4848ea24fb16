#pragma once

#include "Host/Modules/HostedModule.hpp"
#include "Host/Modules/ModuleLifecycle.hpp"
#include "Host/Modules/ModuleManifest.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <boost/asio/steady_timer.hpp>

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::System::Nm
{
struct Notification;
class NotificationManager;
} // namespace Oxa::System::Nm

namespace Oxa::Host::Modules
{

enum class ModuleState : uint8
{
    /// It is being set up, or will be.
    Starting,
    /// It is set up, and its requests are admitted.
    Running,
    /// It is set up, but services that it uses are missing, or something that it provides is not available.
    Waiting,
    /// Its last set-up failed; it is tried again.
    Failed,
    /// Its manifest cannot be used.
    Refused,
    /// It leaves when its requests in progress have ended.
    Stopping,
    /// It has left.
    Stopped
};

/// "starting", "running" and so on. Valid until the process ends.
[[nodiscard]] std::string_view GetModuleStateName(ModuleState state) noexcept;

/// Owns the modules, as many as `Apply` names, and sets them up when `ModuleLifecycle` decides it, each in a blocking
/// section of its own on the event loop, so that one that hangs does not delay the others. A module that fails is left
/// out until its next set-up; the others go on. Every change of a module's state is published. Threads: the host's main
/// thread and the event loop; `GetStatuses` from any.
class ModuleSupervisor final : private System::Rsc::IRscServiceListener,
                               private System::Commons::Diagnostics::Logging::Loggable<ModuleSupervisor>
{
public:
    struct ModuleStatus
    {
        BasicString name;
        ModuleState state;
        /// Of the state.
        DateTime since;
        /// Of the state, in words; empty when it needs none.
        BasicString cause;
        /// Of the set-up in progress.
        std::optional<ModuleLifecycle::Clock::time_point> setupBegin;
        /// Empty but for the name when it cannot be used.
        ModuleManifest manifest;
        /// Of the pages that it has registered.
        std::vector<BasicString> pageNames;
    };

    /// Called once, on the loop: when every module has been set up or has failed, or at the first settings that cannot
    /// be read, with that XmlException.
    using WhenSetUp = std::function<void(std::exception_ptr settingsFault)>;

    /// Everything is borrowed; `registry` must outlive this object.
    ModuleSupervisor(System::Commons::AppDomain& appDomain, ModuleRegistry& registry, Threads::EventLoop& loop,
                     System::Nm::NotificationManager& notifications);
    ModuleSupervisor(const ModuleSupervisor&) = delete;
    ModuleSupervisor& operator=(const ModuleSupervisor&) = delete;

    /// As `StopAll` and `UnloadAll`.
    ~ModuleSupervisor() override;

    /// From now on these are the modules: others are added, or stopped and unloaded when their requests in progress
    /// have ended; one that has changed is replaced. A module whose new manifest cannot be used stays as it is. Before
    /// `Start`, or on the loop.
    void Apply(ModuleManifests newModules);

    /// Begins to set the modules up. Once.
    void Start(WhenSetUp newWhenSetUp);

    /// Stops and resets the modules in the reverse order. Requires: the loop has ended.
    void StopAll() noexcept;

    /// Destroys the modules and unloads their libraries, each in the reverse order. Requires: they are stopped, and
    /// no object whose code is in a module's library is left in the process, such as what calls services in other
    /// processes.
    void UnloadAll() noexcept;

    /// In the order of their names.
    [[nodiscard]] std::vector<ModuleStatus> GetStatuses() const;

private:
    struct Entry;
    using Clock = ModuleLifecycle::Clock;
    using Entries = std::vector<std::shared_ptr<Entry>>;

    struct KnownState
    {
        ModuleState state;
        BasicString cause;
        DateTime since = {};
    };

    void OnEpochChanged(const BasicString& providerName) noexcept override;
    void PostUpdate() noexcept;
    void Update();
    void AddMissing() OXA_REQUIRES(mutex);
    void TryRemove(const std::shared_ptr<Entry>& entry) OXA_REQUIRES(mutex);
    [[nodiscard]] Clock::time_point BeginDueWork(Clock::time_point now) OXA_REQUIRES(mutex);
    void SetUp(Entry& entry, bool isFirst);
    void Remove(const std::shared_ptr<Entry>& entry);
    void ReportFirstSetups(const std::exception_ptr& settingsFault);
    void PublishStates();
    [[nodiscard]] static System::Nm::Notification MakeNotification(const BasicString& name, const KnownState& state);

    [[nodiscard]] Entries GetEntries() const;
    [[nodiscard]] bool IsWanted(const Entry& entry) const OXA_REQUIRES(mutex);
    [[nodiscard]] std::shared_ptr<Entry> FindEntry(std::string_view name) const OXA_REQUIRES(mutex);
    [[nodiscard]] KnownState FindState(Entry& entry) const OXA_REQUIRES(mutex);
    [[nodiscard]] std::map<BasicString, KnownState> FindStates() const OXA_REQUIRES(mutex);

    System::Commons::AppDomain& appDomain;
    ModuleRegistry& registry;
    Threads::EventLoop& loop;
    System::Nm::NotificationManager& notifications;

    mutable System::Commons::Mutex mutex;
    ModuleManifests wanted OXA_GUARDED_BY(mutex);
    Entries entries OXA_GUARDED_BY(mutex);
    /// As published, by name.
    std::map<BasicString, KnownState> states OXA_GUARDED_BY(mutex);
    std::set<BasicString> lostProviders OXA_GUARDED_BY(mutex);
    WhenSetUp whenSetUp OXA_GUARDED_BY(mutex);
    /// `Start` was called.
    bool isStarted OXA_GUARDED_BY(mutex) = false;
    bool isListening = false;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host::Modules
