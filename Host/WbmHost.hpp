#pragma once

#include "Host/Api/ApiRouter.hpp"
#include "Host/Api/SystemRoutes.hpp"
#include "Host/Audit/AuditRoute.hpp"
#include "Host/Audit/AuditTrail.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/HttpServer.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Modules/ModuleSupervisor.hpp"
#include "Host/Reload.hpp"
#include "Host/Sessions/ApiTokenRoute.hpp"
#include "Host/Sessions/PasswordRoute.hpp"
#include "Host/Sessions/PasswordWorker.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Sessions/SessionRoute.hpp"
#include "Host/Sessions/UserRoute.hpp"
#include "Host/StaticFiles.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Host/Tls/Encryption.hpp"
#include "Host/Watchdog.hpp"
#include "Oxa/System/Acf/ComponentManager.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>

#include <exception>
#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host
{

class StateFolder;

/// Puts the host's parts together. They are made in the order of the members and destroyed in the reverse order, also
/// when one of them throws: module settings that cannot be read are an XmlException, anything that the machine refuses
/// is an InvalidOperationException.
/// Threads: the main thread only.
class WbmHost final : private System::Commons::Diagnostics::Logging::Loggable<WbmHost>
{
public:
    /// References are borrowed. `loadConfiguration` reads the configuration again. Requires: `Reload::BlockSignal` and
    /// `EndSignals::Watch` have returned.
    WbmHost(System::Commons::AppDomain& appDomain, const Configuration::HostConfiguration& configuration,
            Reload::LoadConfiguration loadConfiguration, Modules::ModuleManifests manifests,
            System::Um::UserManager& users, const StateFolder& stateFolder);
    WbmHost(const WbmHost&) = delete;
    WbmHost& operator=(const WbmHost&) = delete;
    ~WbmHost();

    /// Listens, starts components and modules, calls `ready` with the port when they are up or have failed, at the
    /// latest after 2 s, and serves until SIGTERM or SIGINT.
    void Run(const std::function<void(uint16)>& ready);

private:
    void SetRoutes();
    void SetPage();
    void ApplyModules(Modules::ModuleManifests manifests);
    void SetReloadedParts();
    void BeginStart();
    void RecordApiTokenUse();
    void StartModules();
    void ReportReady();
    void RecordStart();
    void BeginShutdown();
    void HurryShutdown();

    const Configuration::HostConfiguration& configuration;
    System::Um::UserManager& users;
    System::Nm::NotificationManager notifications;
    /// Offers the users' permissions to the modules.
    System::Rsc::RscRegistration authorizationService;
    System::Acf::ComponentManager components;
    Threads::EventLoop loop;
    /// Of the process before this one; empty unless it crashed.
    const BasicString crashReport;
    Audit::AuditTrail auditTrail;
    Modules::ModuleRegistry registry;
    Modules::ModuleSupervisor modules;
    Sessions::SessionManager sessions;
    Sessions::SessionRoute sessionRoute;
    Sessions::PasswordRoute passwordRoute;
    Sessions::UserRoute userRoute;
    Sessions::ApiTokenRoute apiTokenRoute;
    Modules::Dispatcher dispatcher;
    StaticFiles staticFiles;
    Api::SystemRoutes systemRoutes;
    /// Below which the pages of modules are served.
    std::set<BasicString> modulePagePaths;
    Audit::AuditRoute auditRoute;
    Api::ApiRouter router;
    /// Ends before the routes and the router, whose tasks it runs.
    Sessions::PasswordWorker passwordWorker;
    Tls::Encryption encryption;
    std::shared_ptr<Http::HttpServer> server;
    /// Null unless configured.
    std::shared_ptr<Http::HttpServer> redirectServer;
    Reload reload;
    Watchdog watchdog;
    boost::asio::steady_timer startTimer;
    /// Recording when API tokens were used waits for the disk.
    const Threads::EventLoop::Reserve apiTokenReserve;
    boost::asio::steady_timer apiTokenTimer;
    boost::asio::posix::stream_descriptor endSignal;
    boost::asio::steady_timer shutdownTimer;
    /// Empty after its call.
    std::function<void(uint16)> whenReady;
    /// Why the host cannot serve.
    std::exception_ptr settingsFault;
    bool areModulesStarted = false;
};

} // namespace Oxa::Host
