#pragma once

#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <vector>

namespace Oxa::Tests::Processes
{

/// How a call ended, and after what time.
struct Outcome
{
    /// What came back as text; several values with blanks between; else the name of the fault or of the exception.
    BasicString text;
    std::chrono::milliseconds duration;

    bool operator==(const BasicString& expected) const
    {
        return text == expected;
    }
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

/// The host's side: the device's services as they are to be had at an endpoint, as long as this object lives.
/// Threads: safe from any thread.
class DeviceClient final
{
public:
    explicit DeviceClient(const System::Rsc::RscEndpointConfiguration& endpoint);
    DeviceClient(const DeviceClient&) = delete;
    DeviceClient& operator=(const DeviceClient&) = delete;
    ~DeviceClient();

    /// Whether both services are there now. Requires: only one thread calls.
    bool TryFind();

    /// Requires: `TryFind` was successful once.
    [[nodiscard]] Outcome Read(const BasicString& key) const;
    [[nodiscard]] Outcome ReadMany(const std::vector<BasicString>& keys) const;
    [[nodiscard]] Outcome Restart() const;

    [[nodiscard]] static Outcome Measure(const std::function<BasicString()>& call);

private:
    std::unique_ptr<Device::Interface::Services::IDeviceStatusService> status;
    std::unique_ptr<Device::Interface::Services::IDeviceControlService> control;
};

} // namespace Oxa::Tests::Processes
