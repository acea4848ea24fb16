#include "Device/Program/DeviceCommandLine.hpp"

#include <CLI/CLI.hpp>

#include <cstdlib>

namespace Oxa::Device::Linux::Program
{

namespace
{

using Action = DeviceCommandLine::Action;

/// Requires: the other options have been added.
void AddActions(CLI::App& app, DeviceCommandLine& commandLine)
{
    auto* const actions = app.add_option_group("actions")->require_option(0, 1);
    const auto check = [&commandLine](const BasicString& path)
    {
        commandLine.action = path.empty() ? Action::CheckConfiguration : Action::CheckDescription;
        commandLine.descriptionPath = path;
    };
    actions
        ->add_option_function<BasicString>(
            "--check", check,
            "FILE or folder: every mistake of the description, with --root every item as well; without FILE those of "
            "the configuration and of its descriptions")
        ->expected(0, 1);
    auto* const describe = actions->add_flag_callback(
        "--describe", [&commandLine] { commandLine.action = Action::DescribeMachine; },
        "Writes a description of the machine to standard output");
    auto* const read = actions->add_flag_callback(
        "--read", [&commandLine] { commandLine.action = Action::ReadItems; },
        "Prints the items of the given keys with their types");
    read->needs(app.get_option("KEY"));
    app.get_option("KEY")->needs(read);
    app.get_option("--description")->needs(read);
    app.get_option("--simulate")->needs(describe);
}

/// An empty name is that of an unset variable of a script, not the machine that the program runs on.
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
                 "Lets --describe simulate the parts that the machine lacks");
    app.add_option("--variable", variables, "NAME=VALUE: what ${NAME} in configuration files stands for")
        ->allow_extra_args(false)
        ->check(&System::Commons::FindVariableMistake);
    app.add_option("KEY", commandLine.keys, "Keys of items, for --read");
    AddActions(app, commandLine);
    try
    {
        app.parse(argc, argv);
        if (app.count("--root") > 0 && commandLine.action == Action::CheckConfiguration)
        {
            throw CLI::ValidationError("--root", "a configuration is checked without a machine");
        }
        commandLine.variables = System::Commons::SplitVariables(variables);
        return commandLine;
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? EXIT_SUCCESS : System::Commons::usageFaultStatus;
    }
}

} // namespace Oxa::Device::Linux::Program
