#include "Host/Reload.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

#include <boost/asio/post.hpp>
#include <sys/signalfd.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>

namespace Oxa::Host
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

sigset_t MakeSignals() noexcept
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGHUP);
    return signals;
}

int OpenSignals()
{
    const sigset_t signals = MakeSignals();
    const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor < 0)
    {
        System::Commons::ThrowErrno("cannot wait for signals", errno);
    }
    return descriptor;
}

/// The service manager counts what follows it up to READY as the reload.
void NotifyReloading()
{
    using namespace std::chrono;
    const auto now = duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
    sd_notifyf(0, "RELOADING=1\nMONOTONIC_USEC=%lld", static_cast<long long>(now));
}

} // namespace

void Reload::BlockSignal() noexcept
{
    const sigset_t signals = MakeSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

Reload::Reload(Threads::EventLoop& loop, System::Nm::NotificationManager& notifications,
               Configuration::HostConfiguration configuration, LoadConfiguration loadConfiguration)
    : loop(loop),
      reserve(loop),
      notifications(notifications),
      configuration(std::move(configuration)),
      loadConfiguration(std::move(loadConfiguration)),
      hasTerminal(isatty(STDIN_FILENO) == 1),
      signal(loop.GetContext(), OpenSignals())
{
}

void Reload::AddPart(const char* subject, Part part)
{
    parts.emplace_back(subject, std::move(part));
}

void Reload::Watch()
{
    signal.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                      [this](const boost::system::error_code& error)
                      {
                          if (!error)
                          {
                              Run();
                          }
                      });
}

void Reload::Run()
{
    signalfd_siginfo information = {};
    if (read(signal.native_handle(), &information, sizeof information) < 0)
    {
        Watch();
        return;
    }
    if (hasTerminal && isatty(STDIN_FILENO) == 0)
    {
        // The terminal was closed: no user can end the process there any more.
        kill(getpid(), SIGTERM);
        return;
    }
    const Threads::EventLoop::BlockingSection call(loop);
    NotifyReloading();
    causes.clear();
    const bool isReloaded = TryReload();
    if (isReloaded)
    {
        Log(LogLevel::Notice, "the configuration was reloaded");
    }
    Publish(isReloaded);
    sd_notify(0, "READY=1");
    boost::asio::post(loop.GetContext(), [this] { Watch(); });
}

void Reload::Publish(bool isReloaded) const
{
    System::Nm::Notification notification;
    notification.kind = System::Nm::NotificationKind::ConfigurationReloaded;
    notification.source = "Host";
    notification.text = "SIGHUP";
    notification.fields = {{"outcome", isReloaded ? "success" : "failure"}};
    if (!isReloaded)
    {
        notification.fields.emplace_back("cause", causes);
    }
    notifications.Publish(std::move(notification));
}

/// Whether everything could be used.
bool Reload::TryReload()
{
    bool isReloaded = TryRun("the configuration", [this] { configuration = loadConfiguration(); });
    for (const auto& [subject, part] : parts)
    {
        isReloaded = TryRun(subject, [this, &part = part] { part(configuration); }) && isReloaded;
    }
    return isReloaded;
}

template <class Step>
bool Reload::TryRun(const char* subject, const Step& step)
{
    try
    {
        step();
        return true;
    }
    catch (...)
    {
        const BasicString cause = System::Commons::DescribeCurrentException();
        causes += (causes.empty() ? "" : "; ") + cause;
        Log(LogLevel::Error, "{0} cannot be reloaded and stays as it was: {1}", subject, cause);
    }
    return false;
}

} // namespace Oxa::Host
