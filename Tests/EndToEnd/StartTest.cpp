#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <future>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;
using namespace std::string_literals;

namespace
{

constexpr int configurationFault = 78;

struct Outcome
{
    int status;
    BasicString output;
    BasicString errors;
};

Outcome RunHost(const Support::TemporaryFolder& folder, const BasicString& configuration)
{
    Support::ChildProcess process({OXA_WBM, "--config", configuration, "--state", folder.GetPath("state"), "--port",
                                   "0", "--variable", BasicString("FAKES=") + OXA_FAKES, "--variable",
                                   "FAKE_TRACE=" + folder.GetPath("trace")});
    const int status = process.Wait();
    return {status, process.GetOutput(), process.GetErrors()};
}

const BasicString shippedLibrary = R"(library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Di.so")";

void WriteManifest(const Support::TemporaryFolder& folder, const BasicString& name, const BasicString& attributes)
{
    std::filesystem::create_directory(folder.GetPath("modules"));
    folder.Write("modules/" + name + ".xml",
                 "<WbmModuleDocument>\n<Module name=\"" + name + "\" " + attributes + "/></WbmModuleDocument>");
}

TEST(Starting, EndsWith78AndOneMessageForAConfigurationThatCannotBeUsed)
{
    const Support::TemporaryFolder folder;
    const std::pair<BasicString, BasicString> cases[] = {
        {folder.GetPath("missing.xml"), "cannot read '" + folder.GetPath("missing.xml") + "': No such file"},
        {folder.Write("element.xml", "<WbmHostDocument>\n<Htpp/></WbmHostDocument>"),
         "element.xml:2: the element 'Htpp'"},
        {folder.Write("log.xml", R"(<WbmHostDocument><Log target="file" file="/proc/no"/><Users database="/proc/no"/>)"
                                 "</WbmHostDocument>"),
         "cannot open the log file '/proc/no'"},
        {folder.Write("modules.xml", R"(<WbmHostDocument><Users database="${OXA_STATE}/u"/><Modules folder="/no"/>)"
                                     "</WbmHostDocument>"),
         "cannot use the folder of the modules: '/no' cannot be checked: No such file"},
        {folder.Write("users.xml", R"(<WbmHostDocument><Users database="/proc/no"/></WbmHostDocument>)"), "'/proc/no'"},
    };
    for (const auto& [path, message] : cases)
    {
        const Outcome run = RunHost(folder, path);
        EXPECT_EQ(run.status, configurationFault) << path;
        EXPECT_THAT(run.errors, HasSubstr(message));
        EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
        EXPECT_EQ(run.output, "");
    }
}

TEST(Starting, EndsWith78ForModuleSettingsThatCannotBeUsedAndStopsWhatWasStarted)
{
    const Support::TemporaryFolder folder;
    const BasicString configuration =
        folder.Write("host.xml",
                     R"(<WbmHostDocument><Log level="error"/><Users database="${OXA_STATE}/users.sqlite"/>
        <Components><Component name="Fake" library="${FAKES}/libFakeComponentLibrary.so"/></Components>
        <Modules folder="${OXA_CONFIG}/modules"/></WbmHostDocument>)");
    WriteManifest(folder, "Fake", R"(library="${FAKES}/libFakeModuleLibrary.so")");
    WriteManifest(folder, "Di", shippedLibrary + R"( settings="${OXA_CONFIG}/Di.xml")");
    const BasicString path = folder.GetPath("Di.xml");
    const std::function<void()> faults[] = {
        [] {},
        [&] { folder.Write("Di.xml", "<DiWbmModuleSettingsDocument>\n<oops"); },
        [&] { folder.Write("Di.xml", "<DiWbmModuleSettingsDocument>\n\n</DiWbmModuleSettingsDocument>"); },
    };
    for (const auto& makeFault : faults)
    {
        std::filesystem::remove_all(path);
        std::filesystem::remove(folder.GetPath("trace"));
        makeFault();
        const Outcome run = RunHost(folder, configuration);
        EXPECT_EQ(run.status, configurationFault) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(path));
        EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
        EXPECT_EQ(folder.Read("trace"),
                  "component set up\ncomponent started\nmodule set up\nmodule started\nmodule stopped\nmodule reset\n"
                  "module destroyed\nmodule library unloaded\ncomponent stopped\ncomponent destroyed\n");
    }
}

TEST(Starting, GoesOnWithoutAModuleThatFailsAndIsNotReady)
{
    const Support::TemporaryFolder folder;
    const BasicString fake = "${FAKES}/libFakeModuleLibrary.so";

    struct Case
    {
        BasicString library;
        BasicString name;
        BasicString fault;
        BasicString cause;
    };

    const Case cases[] = {
        {folder.Write("text.so", BasicString(1000, 'x')), "Fake", "", "invalid ELF header"},
        {folder.GetPath("missing.so"), "Fake", "", "No such file"},
        {"${FAKES}/libNoEntryLibrary.so", "Fake", "", "CreateWbmModuleLibrary"},
        {"${FAKES}/libMissingSymbolLibrary.so", "Fake", "", "undefined symbol"},
        {fake, "Unknown", "", "no module of the name 'Unknown'"},
        {fake, "Fake", "entry", "does not want to"},
        {fake, "Fake", "entry-private", "unknown type"},
        {fake, "Fake", "constructor", "does not want to"},
        {fake, "Fake", "constructor-private", "unknown type"},
        {fake, "Fake", "setup", "does not want to"},
        {fake, "Fake", "setup-private", "unknown type"},
        {fake, "Fake", "setup-and-reset", "the module 'Fake' left 'FakeDp' registered"},
        {fake, "Fake", "start", "does not want to"},
    };
    for (const Case& each : cases)
    {
        HostProcess host({.modules = "<Module name=\"" + each.name + "\" library=\"" + each.library +
                                     R"("><DataProvider name="FakeDp"/></Module><Module name="Di" )"
                                     R"(library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Di.so" settings=")" +
                                     OXA_CONFIGURATION + R"(/Di.xml"/>)",
                          .fault = each.fault});
        host.WaitUntilReady();
        const auto ready = host.Ask("GET", "/readyz");
        EXPECT_EQ(ready.result_int(), 503U) << each.cause;
        EXPECT_THAT(ready.body(), HasSubstr("\"modules\":[\"" + each.name + "\"]"));
        EXPECT_THAT(ready.body(), HasSubstr("\"dataProviders\":["));
        EXPECT_THAT(ready.body(), HasSubstr("\"DeviceInterfaceDp\"")) << "no device services are configured";
        EXPECT_EQ(host.Stop(), 0);
        const BasicString& errors = host.GetProcess().GetErrors();
        EXPECT_THAT(errors, HasSubstr(each.cause));
        const BasicString libraryName = each.library.substr(each.library.rfind('/'));
        EXPECT_THAT(errors, HasSubstr(libraryName + "'"));
    }
}

void ExpectServiceBesideHanging(const BasicString& fault, const BasicString& cause)
{
    HostProcess host({.http = "shutdownSeconds=\"1\"",
                      .modules = R"(<Module name="Fake" library="${FAKES}/libFakeModuleLibrary.so"/>)"
                                 R"(<Module name="Di" library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Di.so" )"
                                 R"(settings=")" +
                                 BasicString(OXA_CONFIGURATION) + "/Di.xml\"/>",
                      .fault = fault});
    host.WaitUntilReady();
    const auto ready = host.Ask("GET", "/readyz");
    EXPECT_EQ(ready.result_int(), 503U);
    EXPECT_THAT(ready.body(), HasSubstr(cause));
    EXPECT_THAT(host.Ask("GET", "/api/v1/pages", host.LogIn()).body(), HasSubstr("overview"));
    EXPECT_EQ(host.Stop(), 1);
    EXPECT_THAT(host.GetProcess().GetErrors(), HasSubstr("the process has not ended in time"));
}

TEST(Starting, ServesBesideAComponentOrModuleThatHangsAndReportsIt)
{
    const auto component = std::async(std::launch::async, &ExpectServiceBesideHanging, "component-hangs",
                                      "the component 'Fake' is being set up since ");
    ExpectServiceBesideHanging("setup-hangs", "the module 'Fake' is being set up since ");
}

TEST(CheckingAConfiguration, NamesEverythingThatIsWrongWithFileAndLineAndChangesNothing)
{
    const Support::TemporaryFolder folder;
    const BasicString device = R"(" library="${OXA_LIBRARIES}/libOxa.Device.Linux.so" settings=")";
    const BasicString good = OXA_CONFIGURATION;
    const BasicString description =
        folder.Write("device.xml", "<DeviceDescriptionDocument>\n<Oops/></DeviceDescriptionDocument>");
    const BasicString settings = folder.Write("Di.xml", "<DiWbmModuleSettingsDocument>\n<oops");
    const BasicString weak = folder.GetPath("weak");
    std::filesystem::create_directory(weak);
    std::filesystem::permissions(weak, std::filesystem::perms::all);
    const auto check = [&folder](const BasicString& path)
    {
        Support::ChildProcess process({OXA_WBM, "--config", path, "--state", folder.GetPath("state"), "--check"});
        const int status = process.Wait();
        return Outcome{status, process.GetOutput(), process.GetErrors()};
    };
    const BasicString path = folder.Write(
        "bad.xml", "<WbmHostDocument><Log target=\"file\" file=\"/proc/no/log\"/>\n<Http address=\"192.0.2.1\"/>\n"
                   "<Users database=\"/proc/no/users\"/><Audit database=\"" +
                       weak +
                       "/audit\"/><Components>\n<Component name=\"A\" library=\"/no.so\"/>\n"
                       "<Component name=\"Linux" +
                       device + description +
                       "\"/></Components>\n<Modules folder=\"${OXA_CONFIG}/modules\"/></WbmHostDocument>");
    WriteManifest(folder, "Di", shippedLibrary + " settings=\"" + settings + '"');
    WriteManifest(folder, "No", shippedLibrary);
    folder.Write("modules/Broken.xml", "<WbmModuleDocument>\n\n<Modul/></WbmModuleDocument>");
    const Outcome bad = check(path);
    EXPECT_EQ(bad.status, configurationFault);
    for (const BasicString& message :
         {":1: cannot write '/proc/no/log'"s, ":2: cannot listen at '192.0.2.1'"s, ":3: cannot write '/proc/no/users'"s,
          ":3: cannot use the audit trail '" + weak + "/audit': other users could change it: '" + weak + "' can be",
          ":4: component 'A' of '/no.so'"s, ":5: component 'Linux'"s,
          ":6: the module 'Broken' is refused: " + folder.GetPath("modules/Broken.xml:3: ")})
    {
        EXPECT_THAT(bad.errors, HasSubstr(path + message));
    }
    EXPECT_THAT(bad.errors, HasSubstr(folder.GetPath("modules/Di.xml") + ":2: " + settings + ":2"));
    EXPECT_THAT(bad.errors, HasSubstr(folder.GetPath("modules/No.xml") + ":2: the module 'No'"));
    EXPECT_THAT(bad.errors, HasSubstr(description + ":2"));
    EXPECT_EQ(std::count(bad.errors.begin(), bad.errors.end(), '\n'), 9) << bad.errors;

    const Outcome inOrder = check(good + "/oxa-wbm.xml");
    EXPECT_EQ(inOrder.status, 0);
    EXPECT_EQ(inOrder.errors, "");
    EXPECT_FALSE(std::filesystem::exists(folder.GetPath("state")));
}

TEST(Starting, NeverUsesUsersThatOthersCanReadOrChange)
{
    HostProcess host;
    host.WaitUntilReady();
    host.Stop();
    const BasicString path = host.GetFolder().GetPath("state/users.sqlite");
    const std::pair<const char*, const char*> cases[] = {{"state", "cannot use the state folder: '"},
                                                         {"state/users.sqlite", "cannot use the user database: '"}};
    for (const auto& [name, message] : cases)
    {
        const BasicString changed = host.GetFolder().GetPath(name);
        const auto perms = std::filesystem::status(changed).permissions();
        std::filesystem::permissions(changed, perms | std::filesystem::perms::others_write);
        host.Start();
        EXPECT_EQ(host.GetProcess().Wait(), configurationFault);
        const auto isReported = HasSubstr(message + changed + "' can be written by everybody");
        EXPECT_THAT(host.GetProcess().GetErrors(), isReported);
        EXPECT_EQ(host.RunUserCommand({"list"}), configurationFault);
        EXPECT_THAT(host.GetCommandOutput(), HasSubstr("'" + changed + "' can be written by everybody"));
        EXPECT_EQ(host.RunCommand({"--check"}), configurationFault);
        EXPECT_THAT(host.GetCommandOutput(), isReported);
        std::filesystem::permissions(changed, perms);
    }
    EXPECT_EQ(host.RunCommand({"--check"}), 0) << host.GetCommandOutput();
}

TEST(Starting, EndsWith75AndLeavesNothingBehindWhenNothingCanBeWritten)
{
    const Support::TemporaryFolder folder;
    const BasicString configuration = folder.Write(
        "host.xml",
        R"(<WbmHostDocument><Http port="0"/><Users database="${OXA_STATE}/users.sqlite"/></WbmHostDocument>)");
    const BasicString command =
        BasicString(OXA_WBM) + " --config " + configuration + " --state " + folder.GetPath("state");
    // As with a full disk, writing fails from some byte on.
    const BasicString full = "trap '' XFSZ; ulimit -f 8; exec ";
    Support::ChildProcess limited({"/bin/sh", "-c", full + command});
    EXPECT_EQ(limited.Wait(), 75);
    EXPECT_THAT(limited.GetErrors(), HasSubstr("state/users.sqlite"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath("state")));

    Support::ChildProcess host({"/bin/sh", "-c", "exec " + command});
    (void)host.WaitForLine("listening on");
    Support::ChildProcess change({"/bin/sh", "-c", full + command + " user set-password admin"}, "some secret words\n");
    EXPECT_EQ(change.Wait(), 75);
    // Nothing changes that the audit trail cannot record.
    EXPECT_THAT(change.GetErrors(), HasSubstr("state/audit.sqlite': disk I/O error"));
    Support::ChildProcess list({"/bin/sh", "-c", full + command + " user list"});
    EXPECT_EQ(list.Wait(), 0);
    EXPECT_EQ(list.GetOutput(), "admin\tAdmin\tmust-change-password\n");
    host.SendSignal(SIGTERM);
    EXPECT_EQ(host.Wait(), 0);
}

TEST(Starting, MakesOneUserWithAPasswordThatOnlyTheOwnerCanRead)
{
    HostProcess host;
    host.WaitUntilReady();
    struct stat status = {};
    ASSERT_EQ(stat(host.GetFolder().GetPath("state/initial-password").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(stat(host.GetFolder().GetPath("state").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    const BasicString password = host.GetInitialPassword();
    EXPECT_EQ(password.size(), 27U);
    EXPECT_THAT(host.GetProcess().GetOutput(), HasSubstr("state/initial-password'"));
    EXPECT_THAT(host.GetProcess().GetOutput(), testing::Not(HasSubstr(password))) << "it may end in a log";
    EXPECT_EQ(host.Stop(), 0);
    host.WaitUntilReady();
    EXPECT_EQ(host.GetInitialPassword(), password);
    EXPECT_THAT(host.GetProcess().GetOutput(), testing::Not(HasSubstr(password)));
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
