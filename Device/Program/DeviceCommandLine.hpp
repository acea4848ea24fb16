#pragma once

#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <vector>

namespace Oxa::Device::Linux::Program
{

/// What `oxa-device` is asked to do.
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
    /// Whether a machine is described with simulated parts for those that it has not got.
    bool simulatesMissingParts = false;
    std::vector<BasicString> keys;
    System::Commons::ProgramVariables variables;
};

/// Tells the user what is wrong with the command line, or what it asks for itself: help, version.
[[nodiscard]] System::Commons::CommandLineOrStatus<DeviceCommandLine> ParseDeviceCommandLine(int argc,
                                                                                             const char* const* argv);

} // namespace Oxa::Device::Linux::Program
