#pragma once

#include <chrono>

namespace Oxa::Device::Linux::Commands
{

/// How long the parts of a command may take.
struct CommandTimes
{
    /// One call on the system bus, with the connection if there is none yet.
    std::chrono::milliseconds call = std::chrono::seconds(2);
    /// Until the caller gets an answer; less than the 10 s after which a caller in another process gives up.
    std::chrono::milliseconds answer = std::chrono::seconds(8);
    /// The unit that resets the device.
    std::chrono::milliseconds unit = std::chrono::minutes(10);
    /// Between two looks at a unit that was started and has not ended yet.
    std::chrono::milliseconds unitPoll = std::chrono::milliseconds(200);
    /// From the answer to the reboot, so that the caller can pass the answer on.
    std::chrono::milliseconds beforeReboot = std::chrono::milliseconds(500);
    /// From the reboot until the machine must have ended this process; longer than units are given to stop.
    std::chrono::milliseconds afterReboot = std::chrono::minutes(3);
    /// A simulated restart.
    std::chrono::milliseconds outage = std::chrono::seconds(3);
};

} // namespace Oxa::Device::Linux::Commands
