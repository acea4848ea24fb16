#include "Device/Program/DeviceCommandLine.hpp"

#include "Oxa/System/Commons/ProgramMain.hpp"

#include <CLI/CLI.hpp>

#include <cstdlib>

namespace Oxa::Device::Linux::Program
{

namespace
{

using Action = DeviceCommandLine::Action;

void AddActions(CLI::App& app, DeviceCommandLine& commandLine)
{
    auto* const actions = app.add_option_group("actions")->require_option(0, 1);
    actions->add_option_function<BasicString>(
        "--check",
        [&commandLine](const BasicString& path)
        {
            commandLine.action = Action::CheckDescription;
            commandLine.descriptionPath = path;
        },
        "FILE or folder: says every mistake of the description");
    actions->add_flag_callback(
        "--describe", [&commandLine] { commandLine.action = Action::DescribeMachine; },
        "Writes a description of the machine to standard output");
    actions->add_flag_callback(
        "--read", [&commandLine] { commandLine.action = Action::ReadItems; },
        "Prints the items of the given keys with their types");
}

void RequireKeysToRead(const DeviceCommandLine& commandLine)
{
    if ((commandLine.action == Action::ReadItems) == commandLine.keys.empty())
    {
        throw CLI::ValidationError("--read", "keys are needed for it, and for nothing else");
    }
}

void SplitVariables(const std::vector<BasicString>& texts, DeviceCommandLine& commandLine)
{
    for (const BasicString& text : texts)
    {
        const auto variable = System::Commons::SplitVariable(text);
        if (!variable)
        {
            throw CLI::ValidationError("--variable", "'" + text + "' is not NAME=VALUE");
        }
        commandLine.variables.push_back(*variable);
    }
}

} // namespace

std::optional<DeviceCommandLine> ParseDeviceCommandLine(int argc, const char* const* argv, int& exitStatus)
{
    DeviceCommandLine commandLine;
    std::vector<BasicString> variables;
    CLI::App app("The device services of a controller. Without an action it serves until SIGTERM or SIGINT.",
                 "oxa-device");
    app.set_version_flag("--version", OXA_VERSION);
    app.add_option("--config", commandLine.configurationPath, "The configuration file")->capture_default_str();
    app.add_option("--description", commandLine.descriptionPath, "The description that --read uses, a file or folder");
    app.add_option("--root", commandLine.rootFolder, "A folder of files that stands for the machine");
    app.add_option("--variable", variables, "NAME=VALUE: what ${NAME} in configuration files stands for")
        ->allow_extra_args(false);
    app.add_option("KEY", commandLine.keys, "Keys of items, for --read");
    AddActions(app, commandLine);
    try
    {
        app.parse(argc, argv);
        RequireKeysToRead(commandLine);
        SplitVariables(variables, commandLine);
        return commandLine;
    }
    catch (const CLI::ParseError& error)
    {
        exitStatus = app.exit(error) == 0 ? EXIT_SUCCESS : System::Commons::usageFaultStatus;
        return std::nullopt;
    }
}

} // namespace Oxa::Device::Linux::Program
