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

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Oxa::Host::Modules
{

/// Owns the configured modules and sets them up when `ModuleLifecycle` decides it, each in a blocking section of its
/// own on the event loop, so that one that hangs does not delay the others. A module that fails is left out until its
/// next set-up; the others go on. Threads: the host's main thread and the event loop; `GetStates` from any.
class ModuleSupervisor final : private System::Rsc::IRscServiceListener,
                               private System::Commons::Diagnostics::Logging::Loggable<ModuleSupervisor>
{
public:
    struct ModuleState
    {
        BasicString name;
        bool hasFailed;
        /// Of the set-up in progress.
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
    /// no object whose code is in a module's library is left in the process, such as what calls services in other
    /// processes.
    void UnloadAll() noexcept;

    [[nodiscard]] std::vector<ModuleState> GetStates() const;

    [[nodiscard]] std::size_t CountModules() const noexcept
    {
        return modules.size();
    }

private:
    void OnEpochChanged(const BasicString& providerName) noexcept override;
    void PostUpdate() noexcept;
    void Update();
    [[nodiscard]] ModuleLifecycle::Clock::time_point BeginDueSetups(ModuleLifecycle::Clock::time_point now);
    void SetUp(HostedModule& module, bool isFirst);
    void ReportFirstSetups(const std::exception_ptr& settingsFault);

    System::Commons::AppDomain& appDomain;
    Threads::EventLoop& loop;
    System::Nm::NotificationManager& notifications;
    std::vector<std::unique_ptr<HostedModule>> modules;

    mutable System::Commons::Mutex mutex;
    std::map<const HostedModule*, ModuleLifecycle> lifecycles OXA_GUARDED_BY(mutex);
    std::set<BasicString> lostProviders OXA_GUARDED_BY(mutex);
    WhenSetUp whenSetUp OXA_GUARDED_BY(mutex);
    bool isListening = false;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host::Modules
