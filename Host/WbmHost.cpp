#include "Host/WbmHost.hpp"

#include "Host/Api/AccountOperations.hpp"
#include "Host/Api/OpenApiDocument.hpp"
#include "Host/Audit/AuditLog.hpp"
#include "Host/Http/HostNames.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Threading/EndSignals.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationService.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <boost/asio/post.hpp>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <utility>

namespace Oxa::Host
{

using System::Commons::Threading::EndSignals;
using System::Nm::NotificationKind;
using System::Rsc::ServiceManager;
using System::Um::Services::Internal::AuthorizationService;
using System::Um::Services::Internal::AuthorizationServiceProxyFactory;

namespace
{

constexpr std::chrono::milliseconds lastGrace{500};
/// Parts that hang at the start longer than this do not delay the others.
constexpr std::chrono::seconds longestStart{2};
constexpr std::chrono::minutes apiTokenInterval{1};
constexpr const char* notificationSource = "Host";

/// Redirects plain requests to the server under the first configured name. Null unless configured.
std::shared_ptr<Http::HttpServer> MakeRedirectServer(Threads::EventLoop& loop,
                                                     const Configuration::HttpConfiguration& configuration,
                                                     const std::shared_ptr<Http::HttpServer>& server)
{
    constexpr std::size_t maximumConnections = 32;
    if (!configuration.redirectPort)
    {
        return nullptr;
    }
    Configuration::HttpConfiguration redirect = configuration;
    redirect.port = *configuration.redirectPort;
    redirect.maximumConnections = std::min(configuration.maximumConnections, maximumConnections);
    return std::make_shared<Http::HttpServer>(
        loop.GetContext(), redirect,
        [server, name = configuration.hosts.front()](const auto& exchange)
        { return Http::SendRedirect(*exchange, Http::FormatOrigin(true, name, server->GetPort())); },
        [](const Http::HttpRequest&) { return false; });
}

} // namespace

WbmHost::WbmHost(System::Commons::AppDomain& appDomain, const Configuration::HostConfiguration& configuration,
                 Reload::LoadConfiguration loadConfiguration, Modules::ModuleManifests manifests,
                 System::Um::UserManager& users, const StateFolder& stateFolder)
    : configuration(configuration),
      users(users),
      authorizationService(
          {}, {}, {{AuthorizationServiceProxyFactory::GetInstance(), std::make_shared<AuthorizationService>(users)}}),
      components(appDomain),
      crashReport(System::Commons::Diagnostics::KeepCrashReport(configuration.audit.databasePath + ".crash")),
      auditTrail(configuration.audit, loop),
      registry(loop, configuration),
      modules(appDomain, registry, loop, notifications),
      sessions(configuration.sessions, users, notifications, loop, [this] { return auditTrail.IsWritable(); }),
      sessionRoute(sessions),
      passwordRoute(sessions, passwordWorker, stateFolder.GetBrowserKey()),
      userRoute(users, sessions, loop),
      apiTokenRoute(users, sessions, loop),
      dispatcher(registry, notifications,
                 {[this] { return auditTrail.IsWritable(); },
                  [this](const BasicString& userName)
                  {
                      return auditTrail.AdmitsFailureOf(userName);
                  }}),
      staticFiles(loop),
      systemRoutes({registry, modules, components, users, auditTrail, staticFiles}),
      auditRoute(configuration.audit, registry.MakeStrand("the audit trail")),
      router({sessions, dispatcher, notifications, passwordWorker,
              [this](const auto& exchange)
              {
                  return staticFiles.Handle(exchange);
              }}),
      passwordWorker(loop.GetContext()),
      encryption(loop, configuration.http, notifications),
      server(std::make_shared<Http::HttpServer>(
          loop.GetContext(), configuration.http, [this](const auto& exchange) { return router.Handle(exchange); },
          [this](const Http::HttpRequest& request) { return sessions.Authenticate(request).has_value(); },
          encryption.GetChannelFactory())),
      redirectServer(MakeRedirectServer(loop, configuration.http, server)),
      reload(loop, notifications, configuration, std::move(loadConfiguration)),
      watchdog(loop.GetContext()),
      startTimer(loop.GetContext()),
      apiTokenReserve(loop),
      apiTokenTimer(loop.GetContext()),
      endSignal(loop.GetContext(), dup(EndSignals::GetDescriptor())),
      shutdownTimer(loop.GetContext())
{
    SetRoutes();
    Api::SetAccountOperations(router, {passwordRoute, sessionRoute, userRoute, apiTokenRoute});
    SetPage();
    SetReloadedParts();
    ApplyModules(std::move(manifests));
    notifications.Subscribe([&stateFolder](const System::Nm::Notification& each) { stateFolder.Notice(each); });
    notifications.Subscribe([log = Audit::AuditLog()](const System::Nm::Notification& each) mutable
                            { log.Write(each); });
    notifications.Subscribe([this](const System::Nm::Notification& each) { auditTrail.Add(each); },
                            [this] { auditTrail.Commit(); });
}

WbmHost::~WbmHost()
{
    modules.StopAll();
    // Before the modules are unloaded: what calls other processes may need code of their libraries.
    ServiceManager::ResetEndpoints();
}

void WbmHost::SetRoutes()
{
    using Api::ApiRequest;
    using Api::Operation;
    using Api::SystemRoutes;
    router.Set(Operation::GetPages, [this](const ApiRequest& each)
               { return systemRoutes.HandlePages(each.exchange, each.caller->securityToken); });
    router.Set(Operation::ListAudit, [this](const ApiRequest& each) { return auditRoute.List(each.exchange); });
    router.Set(Operation::ListModules,
               [this](const ApiRequest& each) { return systemRoutes.HandleModules(each.exchange); });
    router.Set(Operation::GetBoot, [](const ApiRequest& each) { return SystemRoutes::HandleBootId(each.exchange); });
    router.Set(Operation::GetNotice, [this](const ApiRequest& each)
               { return SystemRoutes::HandleNotice(each.exchange, configuration.sessions.notice); });
    router.Set(Operation::GetHealth, [](const ApiRequest& each) { return SystemRoutes::HandleHealth(each.exchange); });
    router.Set(Operation::GetReadiness,
               [this](const ApiRequest& each) { return systemRoutes.HandleReadiness(each.exchange); });
    router.Set(Operation::GetOpenApi,
               [](const ApiRequest& each)
               {
                   each.exchange->Send({200, Http::jsonMediaType, Api::GetOpenApiDocument()});
                   return Http::Handling::Completed;
               });
}

/// One thread at a time: at the start, then during a reload. A page that cannot be served leaves its module without
/// one.
void WbmHost::ApplyModules(Modules::ModuleManifests manifests)
{
    modules.Apply(std::move(manifests));
    std::set<BasicString> previousPaths = std::exchange(modulePagePaths, {});
    for (const auto& module : modules.GetStatuses())
    {
        if (module.manifest.pageFolder.empty() || module.state == Modules::ModuleState::Stopping)
        {
            continue;
        }
        const BasicString path = Modules::GetPagePath(module.name);
        try
        {
            staticFiles.SetFolder(path, module.manifest.pageFolder);
            previousPaths.erase(path);
            modulePagePaths.insert(path);
        }
        catch (const System::Commons::InvalidOperationException& exception)
        {
            Log(System::Commons::Diagnostics::Logging::LogLevel::Error,
                "the page of the module '{0}' is not served: {1}", module.name, exception.GetMessage());
        }
    }
    for (const BasicString& path : previousPaths)
    {
        staticFiles.RemoveFolder(path);
    }
}

/// Without a page the interface for programs is served all the same.
void WbmHost::SetPage()
{
    try
    {
        if (!configuration.pageFolder.empty())
        {
            staticFiles.SetFolder("/", configuration.pageFolder);
        }
    }
    catch (const System::Commons::InvalidOperationException& exception)
    {
        Log(System::Commons::Diagnostics::Logging::LogLevel::Error, "the page is not served: {0}",
            exception.GetMessage());
    }
}

/// The log first, so that it has the causes of the others.
void WbmHost::SetReloadedParts()
{
    using Configuration::HostConfiguration;
    reload.AddPart("the log", [](const HostConfiguration& each)
                   { System::Commons::Diagnostics::Logging::LogManager::Configure(each.log); });
    reload.AddPart("the certificates", [this](const HostConfiguration&) { encryption.Reload(); });
    reload.AddPart("the modules",
                   [this](const HostConfiguration& each) { ApplyModules(Modules::LoadModuleManifests(each.modules)); });
}

void WbmHost::Run(const std::function<void(uint16)>& ready)
{
    whenReady = ready;
    ServiceManager::SetEndpoints(configuration.serviceEndpoints);
    encryption.Load();
    server->Listen();
    if (redirectServer)
    {
        redirectServer->Listen();
        System::Commons::PrintStatus("redirecting from " +
                                     Http::FormatOrigin(false, configuration.http.address, redirectServer->GetPort()) +
                                     '\n');
    }
    endSignal.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                         [this](const boost::system::error_code& error)
                         {
                             if (!error)
                             {
                                 BeginShutdown();
                             }
                         });
    watchdog.Start();
    BeginStart();
    RecordApiTokenUse();
    // One for the components and one for the check of sessions, which may hang, and one that goes on; modules and
    // strands have theirs.
    loop.Run(3);
    if (settingsFault)
    {
        std::rethrow_exception(settingsFault);
    }
    modules.StopAll();
    ServiceManager::ResetEndpoints();
    modules.UnloadAll();
    components.StopAll();
    notifications.Publish({{}, NotificationKind::HostStopped, notificationSource, {}, "stopped", {}});
}

/// What may hang runs in blocking sections of the loop, which serves meanwhile.
void WbmHost::BeginStart()
{
    startTimer.expires_after(longestStart);
    startTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                StartModules();
                ReportReady();
            }
        });
    boost::asio::post(loop.GetContext(),
                      [this]
                      {
                          const Threads::EventLoop::BlockingSection call(loop);
                          for (const auto& component : configuration.components)
                          {
                              components.Load(component);
                          }
                          components.SetupAll();
                          components.StartAll();
                          boost::asio::post(loop.GetContext(), [this] { StartModules(); });
                      });
}

/// Now and then again and again.
void WbmHost::RecordApiTokenUse()
{
    {
        const Threads::EventLoop::BlockingSection call(loop);
        users.RecordApiTokenUse();
    }
    apiTokenTimer.expires_after(apiTokenInterval);
    apiTokenTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                RecordApiTokenUse();
            }
        });
}

/// The first time only.
void WbmHost::StartModules()
{
    if (std::exchange(areModulesStarted, true))
    {
        return;
    }
    modules.Start(
        [this](const std::exception_ptr& fault)
        {
            settingsFault = fault;
            if (settingsFault)
            {
                loop.Stop();
                return;
            }
            startTimer.cancel();
            ReportReady();
        });
}

/// The first time only.
void WbmHost::ReportReady()
{
    if (const auto report = std::exchange(whenReady, nullptr))
    {
        report(server->GetPort());
        // A disk may be slow: clients are served meanwhile.
        boost::asio::post(loop.GetContext(), [this] { RecordStart(); });
        // Not before: the end of a reload would count as READY.
        reload.Watch();
    }
}

void WbmHost::RecordStart()
{
    const Threads::EventLoop::BlockingSection call(loop);
    if (auto crash = auditTrail.FindCrash(crashReport))
    {
        notifications.Publish(std::move(*crash));
    }
    notifications.Publish({{}, NotificationKind::HostStarted, notificationSource, {}, "started", {}});
    // The last part of the start, and the one that touches most of the database's library.
    System::Commons::ReleaseUnusedMemory();
}

void WbmHost::BeginShutdown()
{
    sd_notify(0, "STOPPING=1\nSTATUS=finishing requests in progress");
    if (redirectServer)
    {
        redirectServer->Stop([] {});
        redirectServer->EndConnections();
    }
    server->Stop([this] { loop.Stop(); });
    shutdownTimer.expires_after(configuration.http.shutdownTimeout);
    shutdownTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                HurryShutdown();
            }
        });
}

/// Left are clients that do not finish their requests, and modules that do not return.
void WbmHost::HurryShutdown()
{
    server->EndConnections();
    shutdownTimer.expires_after(lastGrace);
    shutdownTimer.async_wait(
        [](const boost::system::error_code& error)
        {
            if (!error)
            {
                EndSignals::EndProcess(
                    "a request is still in progress: ending without stopping modules and components");
            }
        });
}

} // namespace Oxa::Host
