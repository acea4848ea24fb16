#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Modules/HostedModule.hpp"
#include "Host/Modules/ModuleLifecycle.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <boost/asio/steady_timer.hpp>

#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::System::Nm
{
class NotificationManager;
}

namespace Oxa::Host::Modules
{

class ModuleRegistry;

/// Owns the configured modules and sets them up when `ModuleLifecycle` decides it, each in a blocking section of its
/// own on the event loop, so that one that hangs holds up nothing else. A module that fails is left out until its next
/// set-up; the others go on. Threads: the host's main thread and the event loop; `GetStates` from any.
class ModuleSupervisor final : private System::Rsc::IRscServiceListener,
                               private System::Commons::Diagnostics::Logging::Loggable<ModuleSupervisor>
{
public:
    struct ModuleState
    {
        BasicString name;
        bool hasFailed;
        /// Of the set-up that is under way.
        std::optional<ModuleLifecycle::Clock::time_point> setupBegin;
    };

    /// Called once, on the loop: when every module has been set up or has failed, or at the first settings that cannot
    /// be read, with that XmlException.
    using WhenSetUp = std::function<void(std::exception_ptr settingsFault)>;

    /// Everything is borrowed; `registry` must outlive this object.
    ModuleSupervisor(System::Commons::AppDomain& appDomain, ModuleRegistry& registry, Threads::EventLoop& loop,
                     System::Nm::NotificationManager& notifications,
                     const std::vector<Configuration::ModuleConfiguration>& configurations);
    ModuleSupervisor(const ModuleSupervisor&) = delete;
    ModuleSupervisor& operator=(const ModuleSupervisor&) = delete;

    /// As `StopAll` and `UnloadAll`.
    ~ModuleSupervisor() override;

    /// Begins to set the modules up. Once.
    void Start(WhenSetUp newWhenSetUp);

    /// Stops and resets the modules in the reverse order. Requires: the loop has ended.
    void StopAll() noexcept;

    /// Destroys the modules and unloads their libraries, each in the reverse order. Requires: they are stopped, and
    /// nothing is left in the process whose code came with a module's library, such as what calls services in other
    /// processes.
    void UnloadAll() noexcept;

    [[nodiscard]] std::vector<ModuleState> GetStates() const;

    [[nodiscard]] std::size_t CountModules() const noexcept
    {
        return entries.size();
    }

private:
    struct Entry
    {
        std::unique_ptr<HostedModule> module;
        ModuleLifecycle lifecycle;
    };

    void OnEpochChanged(const BasicString& providerName) noexcept override;
    void PostUpdate() noexcept;
    void Update();
    void BeginSetup(Entry& entry, ModuleLifecycle::Clock::time_point now);
    void SetUp(Entry& entry);
    void ReportFirstSetups(std::exception_ptr settingsFault);

    System::Commons::AppDomain& appDomain;
    Threads::EventLoop& loop;
    System::Nm::NotificationManager& notifications;

    mutable System::Commons::Mutex mutex;
    /// Only what the modules are, and when they are set up; a module is called without the lock.
    std::list<Entry> entries;
    std::set<BasicString> lostProviders;
    WhenSetUp whenSetUp;
    bool isListening = false;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host::Modules
