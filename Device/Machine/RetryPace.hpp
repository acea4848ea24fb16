#pragma once

#include "Device/Machine/SteadyClock.hpp"

#include <chrono>
#include <optional>

namespace Oxa::Device::Linux::Machine
{

/// How often something that fails is tried again: at once, then at most once a second. Not safe from several threads.
class RetryPace final
{
public:
    static constexpr std::chrono::seconds interval = std::chrono::seconds(1);

    /// Whether it may be tried now.
    [[nodiscard]] bool IsDue(SteadyTime now) const noexcept;

    /// The same; if so, the interval begins.
    [[nodiscard]] bool TryBegin(SteadyTime now) noexcept;

private:
    std::optional<SteadyTime> last;
};

} // namespace Oxa::Device::Linux::Machine
