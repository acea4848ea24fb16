#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/SecureChannel.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Host/Tls/ICertificateStore.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/steady_timer.hpp>

#include <memory>

namespace Oxa::Host::Tls
{

/// The certificates that the configuration names. Loads the library that reads them, and with it the TLS library, which
/// the program does not need without encryption. `notifications` is borrowed. Throws InvalidOperationException when the
/// library cannot be loaded, or when other users can change the folder.
[[nodiscard]] std::unique_ptr<ICertificateStore> OpenCertificateStore(const Configuration::HttpConfiguration& http,
                                                                      System::Nm::NotificationManager& notifications);

/// Encrypts connections with the configured certificates, which it reads again every hour. Does nothing where the
/// configuration does without encryption. Owned by the host's main part. Threads: the event loop's, and `Load` before
/// it runs.
class Encryption final
{
public:
    /// Everything is borrowed.
    Encryption(Threads::EventLoop& loop, const Configuration::HttpConfiguration& configuration,
               System::Nm::NotificationManager& notifications);

    /// Throws ConfigurationException or TemporaryException, with path and cause, when there is no certificate to use.
    void Load();

    /// Reads the certificates again, for new connections. Never throws; what is wrong is logged and published.
    void Reload() noexcept;

    /// Makes the channels of encrypted connections; empty without encryption. Requires: this object lives longer.
    /// Channels: after `Load`.
    [[nodiscard]] Http::SecureChannelFactory GetChannelFactory();

private:
    void RefreshLater();

    Threads::EventLoop& loop;
    const Configuration::HttpConfiguration& configuration;
    System::Nm::NotificationManager& notifications;
    std::unique_ptr<ICertificateStore> certificates;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host::Tls
