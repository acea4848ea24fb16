#pragma once

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

namespace Oxa::Host::Configuration
{

/// Of one HTTP request.
struct RequestLimits
{
    /// Of the request line and the header fields, with their line ends.
    std::size_t maximumHeaderBytes = 8192;
    std::size_t maximumHeaderFields = 64;
    std::size_t maximumBodyBytes = 65536;
    /// At most `maximumBodyBytes`.
    std::size_t maximumBodyBytesWithoutSession = 4096;
    /// How often the query may have the same parameter.
    std::size_t maximumRepetitions = 4;
};

/// The address, the bounds and the time limits of the HTTP server.
struct HttpConfiguration
{
    BasicString address = "127.0.0.1";
    /// 0: the system picks one.
    uint16 port = 8080;
    /// Whether connections are encrypted (TLS). Always so outside of the loopback interface.
    bool isSecure = false;
    /// The folder of certificates and their keys; empty: "certs.d" in the state folder.
    BasicString certificatesPath;
    /// Names and addresses, beside those of the machine, by which clients call the host; "https://" in front of one:
    /// through a proxy that encrypts.
    std::vector<BasicString> hosts;
    /// Where requests without encryption are redirected to `hosts[0]`.
    std::optional<uint16> redirectPort;
    std::size_t maximumConnections = 256;
    /// Of one address; with IP version 6, of one network with a prefix of 64 bits.
    std::size_t maximumConnectionsPerAddress = 192;
    RequestLimits requestLimits;
    /// Of one connection, for bytes that the client has not acknowledged.
    std::size_t sendBufferBytes = std::size_t{32} * 1024;
    /// Of all responses that clients have not taken; also of a single response.
    std::size_t maximumUnsentBytes = std::size_t{8} * 1024 * 1024;
    /// From the connection to its first byte, with the TLS handshake.
    std::chrono::seconds firstByteTimeout{5};
    /// A connection between two requests.
    std::chrono::seconds idleTimeout{60};
    /// From a request's first byte to the end of its header.
    std::chrono::seconds headerTimeout{10};
    std::chrono::seconds bodyTimeout{20};
    /// For the whole of a response that the client does not take at once.
    std::chrono::seconds writeTimeout{20};
    /// When the host ends: for requests in progress, and then once more for modules and components to stop.
    std::chrono::seconds shutdownTimeout{10};
    BasicString position;
};

struct SessionConfiguration
{
    std::chrono::seconds idleTimeout{900};
    std::chrono::seconds lifetime{43200};
    std::size_t maximumPerUser = 8;
    std::size_t maximumTotal = 64;
    /// That are checked in a minute: for one account from one address, from one known browser, within one session. As
    /// many may come at once after a minute without one.
    std::size_t wrongPasswordsPerAccount = 10;
    /// From one address, for all accounts together.
    std::size_t wrongPasswordsPerAddress = 30;
    /// Shown to everybody before the log-in; may be empty.
    BasicString notice = {};
};

/// What the host's configuration says about a module that is installed.
struct ModuleConfiguration
{
    BasicString name;
    /// False: the module is left out.
    bool isEnabled = true;
    /// Replaces those of the module's manifest unless it is empty.
    BasicString settingsPath;
};

struct ModulesConfiguration
{
    /// Of the manifests, see `Modules::LoadModuleManifests`. Empty: there are no modules.
    BasicString folder;
    std::vector<ModuleConfiguration> modules;
    /// "FILE:LINE" of the element, for messages.
    BasicString position;
};

struct AuditConfiguration
{
    /// Unless configured: "audit.sqlite" beside the user database.
    BasicString databasePath;
    std::size_t maximumMebibytes = 16;

    [[nodiscard]] std::size_t GetMaximumBytes() const noexcept
    {
        return maximumMebibytes * 1024 * 1024;
    }

    /// "FILE:LINE" of the element, for messages; of the user database's element without one.
    BasicString position;
};

/// Of the requests that wait while a data provider processes another one.
struct WaitingLimits
{
    std::size_t maximum = 16;
    /// Of one session, or of one address without a session.
    std::size_t maximumPerClient = 2;
};

/// The configuration file of the host. A value type.
struct HostConfiguration
{
    System::Commons::Diagnostics::Logging::LogConfiguration log;
    HttpConfiguration http;
    SessionConfiguration sessions;
    /// With the files of the page; empty: there is no page.
    BasicString pageFolder;
    BasicString pagePosition;
    BasicString usersDatabasePath;
    BasicString usersPosition;
    AuditConfiguration audit;
    WaitingLimits waitingLimits;
    /// The sockets of services that no component of this process provides.
    std::vector<System::Rsc::RscEndpointConfiguration> serviceEndpoints;
    std::vector<System::Acf::ComponentConfiguration> components;
    ModulesConfiguration modules;
};

/// Throws XmlException, naming file, line and cause, for a file that cannot be read or has a mistake: unknown elements
/// and attributes, values out of range, unknown variables. Placeholders resolve from the
/// process's application domain and the environment.
[[nodiscard]] HostConfiguration LoadHostConfiguration(const BasicString& path);

} // namespace Oxa::Host::Configuration
