#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <limits>
#include <vector>

// Whether what the configuration allows clients to take, all of it together, fits into what the system grants the
// process: an attack must not end it for want of memory, nor keep it from opening a file.

namespace Oxa::Host
{

struct ResourceLimits
{
    static constexpr uint64 unlimited = std::numeric_limits<uint64>::max();

    uint64 memoryBytes = unlimited;
    uint64 descriptors = unlimited;
};

/// Reads the limits of this process: the least memory limit of its control group and of those above it (cgroup 2), and
/// that of file descriptors, whose soft limit it raises as far as `neededDescriptors` and the hard one allow. A limit
/// that cannot be read counts as unlimited. `controlGroupFile` and `controlGroupRoot` replace the system's, for tests.
[[nodiscard]] ResourceLimits ReadResourceLimits(uint64 neededDescriptors,
                                                const BasicString& controlGroupFile = "/proc/self/cgroup",
                                                const BasicString& controlGroupRoot = "/sys/fs/cgroup");

/// That the configuration allows clients to take, together with what the host itself takes.
[[nodiscard]] ResourceLimits GetNeededResources(const Configuration::HttpConfiguration& http) noexcept;

/// With fewer the host is of no use.
inline constexpr std::size_t fewestConnections = 8;

/// Lowers the numbers of connections to what fits, and returns a message with the numbers for each limit that is too
/// low; none when everything fits. Throws InvalidOperationException when not even `fewestConnections` fit.
[[nodiscard]] std::vector<BasicString> FitConnections(Configuration::HttpConfiguration& http,
                                                      const ResourceLimits& limits);

/// Lowers the numbers of connections to what fits into the limits of this process, and logs that as a warning. Throws
/// like `FitConnections`.
void FitToProcess(Configuration::HttpConfiguration& http);

} // namespace Oxa::Host
