#pragma once

#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/Eventually.hpp"
#include "Support/TemporaryFolder.hpp"

#include <chrono>
#include <optional>
#include <vector>

namespace Oxa::Tests::Processes
{

/// What differs from test to test.
struct DeviceSettings
{
    /// Attributes of the element Server. By default the socket.
    BasicString server = "";
    /// Elements inside Server. By default the own user, who may command.
    BasicString users = "";
    /// The path of a description. By default one with the items of the tests.
    BasicString description = "";
    /// A folder that stands for the machine. By default the machine that the test runs on.
    BasicString root = "";
};

/// The shipped program `oxa-device` with a folder, a description and a configuration of its own.
class DeviceProcess final
{
public:
    static constexpr std::chrono::milliseconds readTimeout{300};
    static constexpr std::chrono::milliseconds commandTimeout{400};

    /// The items "Test.0" to "Test.39"; each one's value is its key and '!'.
    static constexpr int itemsCount = 40;

    explicit DeviceProcess(const DeviceSettings& settings = {});
    DeviceProcess(const DeviceProcess&) = delete;
    DeviceProcess& operator=(const DeviceProcess&) = delete;
    ~DeviceProcess();

    /// From now on the process gets a listening socket from the test, as from systemd.
    void HandOverSocket();

    /// Returns when it serves.
    void Start();
    void Kill();
    /// Returns when it has stopped, until `SIGCONT`.
    void Suspend();

    [[nodiscard]] Support::ChildProcess& GetProcess();

    [[nodiscard]] System::Rsc::RscEndpointConfiguration GetEndpoint() const;

    [[nodiscard]] const Support::TemporaryFolder& GetFolder() const;

private:
    void Describe() const;

    Support::TemporaryFolder folder;
    const BasicString root;
    const BasicString socketPath = folder.GetPath("socket");
    int listening = -1;
    std::optional<Support::ChildProcess> process;
};

using Support::Eventually;

/// "Test.7" for 7.
[[nodiscard]] BasicString MakeKey(int number);

} // namespace Oxa::Tests::Processes
