#include "Host/ResourceLimits.hpp"

#include "Host/Http/ConnectionTable.hpp"
#include "Host/Http/HttpServer.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <sys/resource.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <string>
#include <string_view>

namespace Oxa::Host
{

using System::Commons::Text::Format;

namespace
{

constexpr uint64 kibibyte = 1024;
constexpr uint64 mebibyte = 1024 * kibibyte;
/// The program with its modules, databases and caches, and one password that is being hashed (19 MiB).
constexpr uint64 ownBytes = 16 * mebibyte + 20 * mebibyte;
/// At the port that redirects.
constexpr uint64 redirectConnections = 32;
/// With those of silent connections in a rush.
constexpr uint64 descriptorsPerConnection = 1 + Http::ConnectionTable::silentFactor;
/// Log, databases, services, the event loop, and connections that are being closed.
constexpr uint64 ownDescriptors = 64;
/// Of a connection beside its buffers.
constexpr uint64 objectBytes = 4 * kibibyte;
/// Of a connection that has sent nothing, in this process and in the system.
constexpr uint64 silentBytes = 6 * kibibyte;
/// OpenSSL's, with the buffers for a record in each direction.
constexpr uint64 encryptionBytes = 48 * kibibyte;

/// The most that one connection can take, in this process and in the system.
uint64 GetConnectionBytes(const Configuration::HttpConfiguration& http) noexcept
{
    const uint64 request = 2 * http.requestLimits.maximumHeaderBytes + http.requestLimits.maximumBodyBytes;
    // The system doubles both, for its own structures.
    const uint64 system = 2 * (http.sendBufferBytes + Http::HttpServer::receiveBufferBytes);
    return objectBytes + request + system + (http.isSecure ? encryptionBytes : 0) +
           Http::ConnectionTable::silentFactor * silentBytes;
}

/// A response is made before it is known that it fits.
uint64 GetOtherBytes(const Configuration::HttpConfiguration& http) noexcept
{
    return ownBytes + 2 * uint64{http.maximumUnsentBytes} +
           (http.redirectPort ? redirectConnections * GetConnectionBytes(http) : 0);
}

uint64 GetOtherDescriptors(const Configuration::HttpConfiguration& http) noexcept
{
    return ownDescriptors + (http.redirectPort ? redirectConnections * descriptorsPerConnection : 0);
}

/// Unlimited as well when the file does not exist, as in the root group.
uint64 ReadLimit(const BasicString& path)
{
    std::ifstream file(path);
    std::string text;
    file >> text;
    uint64 limit = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), limit);
    return error == std::errc() && end == text.data() + text.size() ? limit : ResourceLimits::unlimited;
}

/// The path below the root of the file system of control groups; empty without one.
BasicString ReadControlGroup(const BasicString& path)
{
    constexpr std::string_view unified = "0::";
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        if (line.starts_with(unified))
        {
            return line.substr(unified.size());
        }
    }
    return {};
}

uint64 ReadMemoryLimit(const BasicString& controlGroupFile, const BasicString& root)
{
    uint64 limit = ResourceLimits::unlimited;
    BasicString group = ReadControlGroup(controlGroupFile);
    while (!group.empty())
    {
        limit = std::min(limit, ReadLimit(root + group + "/memory.max"));
        // Up to the root group, which has no limit.
        group.resize(group.find_last_of('/') == BasicString::npos ? 0 : group.find_last_of('/'));
    }
    return limit;
}

uint64 RaiseDescriptorLimit(uint64 needed)
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
    {
        return ResourceLimits::unlimited;
    }
    if (limit.rlim_cur < needed)
    {
        rlimit raised = limit;
        raised.rlim_cur = std::min<rlim_t>(needed, limit.rlim_max);
        limit = setrlimit(RLIMIT_NOFILE, &raised) == 0 ? raised : limit;
    }
    return limit.rlim_cur;
}

class ResourceLog final : public System::Commons::Diagnostics::Logging::Loggable<ResourceLog>
{
public:
    static void Warn(const BasicString& message)
    {
        ResourceLog().Log(System::Commons::Diagnostics::Logging::LogLevel::Warning, "{0}", message);
    }
};

} // namespace

ResourceLimits ReadResourceLimits(uint64 neededDescriptors, const BasicString& controlGroupFile,
                                  const BasicString& controlGroupRoot)
{
    return {ReadMemoryLimit(controlGroupFile, controlGroupRoot), RaiseDescriptorLimit(neededDescriptors)};
}

ResourceLimits GetNeededResources(const Configuration::HttpConfiguration& http) noexcept
{
    return {GetOtherBytes(http) + http.maximumConnections * GetConnectionBytes(http),
            GetOtherDescriptors(http) + http.maximumConnections * descriptorsPerConnection};
}

std::vector<BasicString> FitConnections(Configuration::HttpConfiguration& http, const ResourceLimits& limits)
{
    const auto countFitting = [](uint64 limit, uint64 other, uint64 each)
    {
        return limit < other ? 0 : (limit - other) / each;
    };
    const ResourceLimits needed = GetNeededResources(http);
    const std::size_t configured = http.maximumConnections;
    std::vector<BasicString> messages;
    const auto fit = [&](uint64 count, const BasicString& cause)
    {
        if (count >= configured)
        {
            return;
        }
        if (count < std::min(configured, fewestConnections))
        {
            throw System::Commons::InvalidOperationException::Create("{0}, which is too little for {1} connections",
                                                                     cause, std::min(configured, fewestConnections));
        }
        http.maximumConnections = std::min<std::size_t>(http.maximumConnections, static_cast<std::size_t>(count));
        messages.push_back(Format("{0}: {1} connections are served instead of {2}", cause, count, configured));
    };
    fit(countFitting(limits.memoryBytes, GetOtherBytes(http), GetConnectionBytes(http)),
        Format("what clients may take needs {0} MiB of memory, and the limit of the control group is {1} MiB",
               (needed.memoryBytes + mebibyte - 1) / mebibyte, limits.memoryBytes / mebibyte));
    fit(countFitting(limits.descriptors, GetOtherDescriptors(http), descriptorsPerConnection),
        Format("the connections need {0} file descriptors, and the limit is {1}", needed.descriptors,
               limits.descriptors));
    // Others keep the part of the places that the configuration leaves them.
    if (http.maximumConnections < configured)
    {
        http.maximumConnectionsPerAddress =
            std::max<std::size_t>(1, http.maximumConnectionsPerAddress * http.maximumConnections / configured);
    }
    return messages;
}

void FitToProcess(Configuration::HttpConfiguration& http)
{
    const ResourceLimits limits = ReadResourceLimits(GetNeededResources(http).descriptors);
    for (const BasicString& message : FitConnections(http, limits))
    {
        ResourceLog::Warn(message);
    }
}

} // namespace Oxa::Host
