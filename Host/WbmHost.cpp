#include "Host/WbmHost.hpp"

#include "Host/Audit/AuditLog.hpp"
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
/// What hangs at the start longer than this goes on beside what is up.
constexpr std::chrono::seconds longestStart{2};
constexpr const char* notificationSource = "Host";

} // namespace

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
      authorizationService(
          {}, {}, {{AuthorizationServiceProxyFactory::GetInstance(), std::make_shared<AuthorizationService>(users)}}),
      components(appDomain),
      registry(loop, configuration),
      modules(appDomain, registry, loop, notifications, configuration.modules),
      serviceEndpoints(configuration.serviceEndpoints),
      sessions(configuration.sessions, users, notifications, loop),
      sessionRoute(sessions, loop.GetContext()),
      dispatcher(registry, notifications),
      pages(registry),
      readiness(components, modules, registry, users),
      router(sessions, sessionRoute, dispatcher, pages, readiness),
      server(loop.GetContext(), configuration.http, [this](const auto& exchange) { return router.Handle(exchange); }),
      startTimer(loop.GetContext()),
      endSignal(loop.GetContext(), dup(EndSignals::GetDescriptor())),
      shutdownTimer(loop.GetContext())
{
    notifications.Subscribe([log = Audit::AuditLog()](const System::Nm::Notification& each) { log.Write(each); });
}

WbmHost::~WbmHost()
{
    StopModules();
}

void WbmHost::Run(const std::function<void(uint16)>& ready)
{
    whenReady = ready;
    server.Listen();
    WaitForSignal();
    BeginStart();
    // One for every set-up of a module, that of the components and the check of sessions, which may all hang, and one
    // that goes on; strands have theirs.
    loop.Run(static_cast<unsigned>(modules.CountModules()) + 3);
    if (settingsFault)
    {
        std::rethrow_exception(settingsFault);
    }
    StopModules();
    ServiceEndpoints::Reset();
    modules.UnloadAll();
    components.StopAll();
    notifications.Publish({{}, NotificationKind::HostStopped, notificationSource, {}, "stopped", {}});
}

/// Everything that may hang runs in blocking sections of the loop, which serves meanwhile.
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
                          {
                              const Threads::EventLoop::BlockingSection call(loop);
                              StartComponents();
                          }
                          boost::asio::post(loop.GetContext(), [this] { StartModules(); });
                      });
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

/// The first time only.
void WbmHost::StartModules()
{
    if (!std::exchange(areModulesStarted, true))
    {
        modules.Start([this](const std::exception_ptr& fault) { EndModuleStart(fault); });
    }
}

void WbmHost::EndModuleStart(const std::exception_ptr& newSettingsFault)
{
    settingsFault = newSettingsFault;
    if (settingsFault)
    {
        loop.Stop();
        return;
    }
    startTimer.cancel();
    ReportReady();
}

/// The first time only.
void WbmHost::ReportReady()
{
    if (const auto report = std::exchange(whenReady, nullptr))
    {
        notifications.Publish({{}, NotificationKind::HostStarted, notificationSource, {}, "started", {}});
        System::Commons::ReleaseStartupMemory();
        report(server.GetPort());
    }
}

void WbmHost::WaitForSignal()
{
    endSignal.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                         [this](const boost::system::error_code& error)
                         {
                             if (!error)
                             {
                                 BeginShutdown();
                             }
                         });
}

void WbmHost::BeginShutdown()
{
    sd_notify(0, "STOPPING=1\nSTATUS=finishing requests in progress");
    server.Stop([this] { loop.Stop(); });
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
        [](const boost::system::error_code& error)
        {
            if (!error)
            {
                EndSignals::EndProcess(
                    "a request is still in progress: ending without stopping modules and components");
            }
        });
}

void WbmHost::StopModules() noexcept
{
    modules.StopAll();
}

} // namespace Oxa::Host
