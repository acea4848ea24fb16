#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/Eventually.hpp"
#include "Support/HttpClient.hpp"
#include "Support/TemporaryFolder.hpp"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::Tests::EndToEnd
{

inline constexpr const char* administratorPassword = "chosen at the first log-in";

/// What differs from test to test.
struct HostSettings
{
    /// Attributes of the element Http.
    BasicString http = "";
    BasicString requests = "maximumWaiting=\"2\"";
    BasicString sessions = "";
    /// The elements Module of all manifests, and those inside Components. By default the fake ones.
    BasicString modules = R"(<Module name="Fake" library="${FAKES}/libFakeModuleLibrary.so">
        <DataProvider name="FakeDp" safe="true"/><DataProvider name="FakeControlDp"/></Module>)";
    BasicString components = R"(<Component name="Fake" library="${FAKES}/libFakeComponentLibrary.so"/>)";
    /// Elements inside Services.
    BasicString services = "";
    /// Further elements of the document.
    BasicString other = "";
    BasicString fault = "";
    /// Attributes of the element Log.
    BasicString log = R"(level="information")";
};

/// The shipped program with a state folder and a configuration of its own.
class HostProcess final
{
public:
    explicit HostProcess(const HostSettings& settings = {});

    /// Starts it. `WaitUntilReady` or `GetProcess().Wait()` follows.
    void Start();
    void WaitUntilReady();

    /// Replaces the manifests by one for each element Module.
    void WriteManifests(std::string_view modules) const;

    /// Runs a command such as "token …" and returns its exit status.
    int RunCommand(const std::vector<BasicString>& arguments, std::string_view input = {});

    /// The same with "user …".
    int RunUserCommand(std::vector<BasicString> arguments, std::string_view input = {})
    {
        arguments.insert(arguments.begin(), "user");
        return RunCommand(arguments, input);
    }

    /// The same with "audit …".
    int RunAuditCommand(std::vector<BasicString> arguments)
    {
        arguments.insert(arguments.begin(), "audit");
        return RunCommand(arguments);
    }

    /// What the last command wrote to both of its outputs.
    [[nodiscard]] const BasicString& GetCommandOutput() const
    {
        return commandOutput;
    }

    /// What starts such a command.
    [[nodiscard]] std::vector<BasicString> MakeCommand(const std::vector<BasicString>& arguments) const;

    [[nodiscard]] Support::ChildProcess& GetProcess()
    {
        return *process;
    }

    [[nodiscard]] const Support::TemporaryFolder& GetFolder() const
    {
        return folder;
    }

    [[nodiscard]] Support::HttpClient Connect() const
    {
        return Support::HttpClient(port);
    }

    [[nodiscard]] BasicString GetInitialPassword() const;

    /// The header field that authorizes the user; by default the one that the first start creates, who then has the
    /// password `administratorPassword`.
    [[nodiscard]] BasicString LogIn(const BasicString& userName = "admin", BasicString password = {}) const;

    /// One request on a connection of its own.
    [[nodiscard]] Support::HttpClient::Answer Ask(std::string_view method, std::string_view target,
                                                  std::string_view fields = {}, std::string_view body = {}) const;

    /// SIGTERM, and what the program says then.
    int Stop();

private:
    [[nodiscard]] std::vector<BasicString> MakeArguments() const;

    Support::TemporaryFolder folder;
    BasicString configurationPath;
    BasicString fault;
    BasicString commandOutput;
    std::unique_ptr<Support::ChildProcess> process;
    uint16 port = 0;
};

/// The header field that authorizes the user.
[[nodiscard]] BasicString LogIn(Support::HttpClient& client, const BasicString& userName, const BasicString& password);

/// The same for "admin", who changes the first password to `administratorPassword`.
[[nodiscard]] BasicString LogInFirst(Support::HttpClient& client, const BasicString& initialPassword);

/// The text of the member in a flat JSON object; empty when there is none.
[[nodiscard]] BasicString GetMember(std::string_view json, std::string_view name);

} // namespace Oxa::Tests::EndToEnd
