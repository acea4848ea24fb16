#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <functional>
#include <utility>
#include <vector>

namespace Oxa::System::Nm
{
class NotificationManager;
}

namespace Oxa::Host
{

/// Carries out SIGHUP: reads the configuration again and lets the parts of the host that can change while they run take
/// it. What cannot be used is logged and published, and goes on as it was; the other parts are not affected. When the
/// configuration cannot be read, the parts reload with the previous one, so that a log is reopened nevertheless.
/// Signals that come during a reload cause one more. Owned by the host's main part. Threads: the event loop's.
class Reload final : private System::Commons::Diagnostics::Logging::Loggable<Reload>
{
public:
    /// Throws what `LoadHostConfiguration` throws.
    using LoadConfiguration = std::function<Configuration::HostConfiguration()>;
    /// Takes the configuration. What it throws is the cause in the log; nothing may have changed then. Called in a
    /// blocking section.
    using Part = std::function<void(const Configuration::HostConfiguration&)>;

    /// From now on the signal waits for `Watch`. Once, before the process has threads of its own.
    static void BlockSignal() noexcept;

    /// `configuration` is the one in use. Requires: `BlockSignal` has returned.
    Reload(Threads::EventLoop& loop, System::Nm::NotificationManager& notifications,
           Configuration::HostConfiguration configuration, LoadConfiguration loadConfiguration);
    Reload(const Reload&) = delete;
    Reload& operator=(const Reload&) = delete;

    /// `subject` names it in the log, for instance "the certificates". Parts reload in the order of these calls. Before
    /// `Watch`.
    void AddPart(const char* subject, Part part);

    /// Begins to take signals.
    void Watch();

private:
    void Run();
    [[nodiscard]] bool TryReload();
    void Publish(bool isReloaded) const;
    template <class Step>
    [[nodiscard]] bool TryRun(const char* subject, const Step& step);

    Threads::EventLoop& loop;
    /// A reload may hang in a file system.
    const Threads::EventLoop::Reserve reserve;
    System::Nm::NotificationManager& notifications;
    Configuration::HostConfiguration configuration;
    const LoadConfiguration loadConfiguration;
    std::vector<std::pair<const char*, Part>> parts;
    /// Of the reload in progress: what could not be used, and why.
    BasicString causes;
    const bool hasTerminal;
    boost::asio::posix::stream_descriptor signal;
};

} // namespace Oxa::Host
