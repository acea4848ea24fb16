#include "Host/WbmHost.hpp"

#include "Oxa/System/Commons/StartupMemory.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationService.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <csignal>
#include <cstdlib>

namespace Oxa::Host
{

using System::Commons::Diagnostics::Logging::LogLevel;
using System::Nm::NotificationKind;
using System::Rsc::ServiceManager;
using System::Um::Services::Internal::AuthorizationService;
using System::Um::Services::Internal::AuthorizationServiceProxyFactory;

namespace
{

constexpr std::chrono::seconds lastGrace{1};
/// The strands of the host's own routes.
constexpr unsigned hostQuestions = 3;
constexpr const char* notificationSource = "Host";

} // namespace

WbmHost::AuthorizationProvider::AuthorizationProvider(System::Um::UserManager& users)
{
    ServiceManager::RegisterService(AuthorizationServiceProxyFactory::GetInstance(),
                                    std::make_shared<AuthorizationService>(users));
}

WbmHost::AuthorizationProvider::~AuthorizationProvider()
{
    ServiceManager::UnregisterService(AuthorizationServiceProxyFactory::GetInstance());
}

WbmHost::ServiceEndpoints::ServiceEndpoints(const std::vector<System::Rsc::RscEndpointConfiguration>& configurations)
{
    ServiceManager::SetEndpoints(configurations);
}

WbmHost::ServiceEndpoints::~ServiceEndpoints()
{
    Reset();
}

void WbmHost::ServiceEndpoints::Reset()
{
    ServiceManager::ResetEndpoints();
}

WbmHost::WbmHost(System::Commons::AppDomain& appDomain, const Configuration::HostConfiguration& configuration,
                 System::Um::UserManager& users)
    : configuration(configuration),
      auditLog(notifications),
      authorizationProvider(users),
      components(appDomain),
      registry(loop, configuration),
      renewer(loop, notifications),
      modules(appDomain, registry, renewer, notifications),
      serviceEndpoints(configuration.serviceEndpoints),
      pageQuestions(std::make_shared<Http::RequestStrand>(loop, "the pages", configuration.maximumWaitingRequests)),
      bootQuestions(std::make_shared<Http::RequestStrand>(loop, "the boot id", configuration.maximumWaitingRequests)),
      readinessQuestions(
          std::make_shared<Http::RequestStrand>(loop, "the readiness", configuration.maximumWaitingRequests)),
      sessions(configuration.sessions, users, notifications, loop),
      sessionRoute(sessions, loop.GetContext()),
      dispatcher(registry, notifications),
      pages(registry, *pageQuestions),
      boot(*bootQuestions),
      readiness(modules, registry, *readinessQuestions),
      router({sessions, sessionRoute, dispatcher, pages, boot, readiness}),
      server(loop.GetContext(), configuration.http, router),
      signals(loop.GetContext(), SIGTERM, SIGINT),
      shutdownTimer(loop.GetContext())
{
}

WbmHost::~WbmHost()
{
    StopModules();
}

void WbmHost::Run(const std::function<void(uint16)>& ready)
{
    StartComponents();
    Serve(ready);
    StopModules();
    ServiceEndpoints::Reset();
    renewalTrigger.reset();
    modules.UnloadAll();
    components.StopAll();
    notifications.Publish({{}, NotificationKind::HostStopped, notificationSource, {}, "stopped", {}});
}

void WbmHost::Serve(const std::function<void(uint16)>& ready)
{
    renewalTrigger.emplace(renewer);
    modules.StartAll(configuration.modules);
    readiness.SetFailedComponents(GetFailedComponents());
    server.Listen();
    WaitForSignal();
    notifications.Publish({{}, NotificationKind::HostStarted, notificationSource, {}, "started", {}});
    System::Commons::ReleaseStartupMemory();
    ready(server.GetPort());
    // One for every strand, every set-up of a module and the check of sessions, which may all hang, and one that goes
    // on.
    loop.Run(static_cast<unsigned>(registry.CountDataProviders() + modules.CountModules()) + hostQuestions + 2);
}

void WbmHost::StartComponents()
{
    for (const auto& component : configuration.components)
    {
        components.Load(component);
    }
    components.SetupAll();
    components.StartAll();
}

std::vector<BasicString> WbmHost::GetFailedComponents() const
{
    std::vector<BasicString> names;
    for (const auto& failure : components.GetFailures())
    {
        names.push_back(failure.name);
    }
    return names;
}

void WbmHost::WaitForSignal()
{
    signals.async_wait(
        [this](const boost::system::error_code& error, int /*number*/)
        {
            if (!error)
            {
                BeginShutdown();
            }
        });
}

void WbmHost::BeginShutdown()
{
    // A second signal then ends the process at once, as it does by default.
    signals.clear();
    server.Stop(
        [this]
        {
            // A module that is being set up again may hang as well.
            watchdog.Start(configuration.http.shutdownTimeout);
            loop.Stop();
        });
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

/// What is left are clients that do not finish their requests, and modules that do not return.
void WbmHost::HurryShutdown()
{
    server.EndConnections();
    shutdownTimer.expires_after(lastGrace);
    shutdownTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                Log(LogLevel::Error, "a request is still in progress: ending without stopping modules and components");
                std::_Exit(EXIT_FAILURE);
            }
        });
}

void WbmHost::StopModules() noexcept
{
    watchdog.Start(configuration.http.shutdownTimeout);
    if (renewalTrigger)
    {
        renewalTrigger->Ignore();
    }
    modules.StopAll();
}

} // namespace Oxa::Host
