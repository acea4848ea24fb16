#include "Device/Program/DeviceCommandLine.hpp"

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
    actions
        ->add_option_function<BasicString>(
            "--check",
            [&commandLine](const BasicString& path)
            {
                commandLine.action = path.empty() ? Action::CheckConfiguration : Action::CheckDescription;
                commandLine.descriptionPath = path;
            },
            "FILE or folder: every mistake of the description, with --root every item as well; without FILE those of "
            "the configuration and of its descriptions")
        ->expected(0, 1);
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

/// What an action has no use for must not be passed over without a word.
void RefuseUnused(const CLI::App& app, const DeviceCommandLine& commandLine)
{
    if (app.count("--description") > 0 && commandLine.action != Action::ReadItems)
    {
        throw CLI::ValidationError("--description", "it is for --read only");
    }
    if (app.count("--root") > 0 && commandLine.action == Action::CheckConfiguration)
    {
        throw CLI::ValidationError("--root", "a configuration is checked without looking at a machine");
    }
    if (commandLine.simulatesMissingParts && commandLine.action != Action::DescribeMachine)
    {
        throw CLI::ValidationError("--simulate", "it is for --describe only");
    }
}

/// An empty name is a variable of a script that is not set, and not the machine that the program runs on.
BasicString FindFolderMistake(const BasicString& name)
{
    return name.empty() ? "the name of the folder is empty" : BasicString();
}

} // namespace

System::Commons::CommandLineOrStatus<DeviceCommandLine> ParseDeviceCommandLine(int argc, const char* const* argv)
{
    DeviceCommandLine commandLine;
    std::vector<BasicString> variables;
    CLI::App app("The device services of a controller. Without an action it serves until SIGTERM or SIGINT.",
                 "oxa-device");
    app.set_version_flag("--version", OXA_VERSION);
    app.add_option("--config", commandLine.configurationPath, "The configuration file")->capture_default_str();
    app.add_option("--description", commandLine.descriptionPath, "The description that --read uses, a file or folder");
    app.add_option("--root", commandLine.rootFolder, "A folder of files that stands for the machine")
        ->check(&FindFolderMistake);
    app.add_flag("--simulate", commandLine.simulatesMissingParts,
                 "Lets --describe simulate what the machine has not got");
    app.add_option("--variable", variables, "NAME=VALUE: what ${NAME} in configuration files stands for")
        ->allow_extra_args(false)
        ->check(&System::Commons::FindVariableMistake);
    app.add_option("KEY", commandLine.keys, "Keys of items, for --read");
    AddActions(app, commandLine);
    try
    {
        app.parse(argc, argv);
        RequireKeysToRead(commandLine);
        RefuseUnused(app, commandLine);
        commandLine.variables = System::Commons::SplitVariables(variables);
        return commandLine;
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? EXIT_SUCCESS : System::Commons::usageFaultStatus;
    }
}

} // namespace Oxa::Device::Linux::Program
