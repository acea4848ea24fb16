#pragma once

#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <vector>

namespace Oxa::Device::Linux::Program
{

/// The command line of `oxa-device`.
struct DeviceCommandLine
{
    enum class Action : uint8
    {
        Serve,
        CheckDescription,
        CheckConfiguration,
        DescribeMachine,
        ReadItems
    };

    Action action = Action::Serve;
    BasicString configurationPath = "/etc/oxa/oxa-device.xml";
    /// To check, or to read items by. Empty: the one that the configuration names.
    BasicString descriptionPath;
    /// The folder that stands for the machine; empty: the machine that the program runs on.
    BasicString rootFolder;
    /// Whether a description simulates the parts that the machine lacks.
    bool simulatesMissingParts = false;
    std::vector<BasicString> keys;
    System::Commons::ProgramVariables variables;
};

/// Prints mistakes in the command line, help or the version; the result is then the exit status.
[[nodiscard]] System::Commons::CommandLineOrStatus<DeviceCommandLine> ParseDeviceCommandLine(int argc,
                                                                                             const char* const* argv);

} // namespace Oxa::Device::Linux::Program
