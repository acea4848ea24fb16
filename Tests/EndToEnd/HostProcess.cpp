#include "EndToEnd/HostProcess.hpp"

#include "Oxa/System/Commons/Json/JsonReader.hpp"

#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace Oxa::Tests::EndToEnd
{

using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonTokenType;

namespace
{

/// The header field for the session in the answer.
BasicString GetAuthorization(const BasicString& answer)
{
    const BasicString token = GetMember(answer, "token");
    if (token.empty())
    {
        throw std::runtime_error("cannot log in: " + answer);
    }
    return "Authorization: Bearer " + token + "\r\n";
}

} // namespace

HostProcess::HostProcess(const HostSettings& settings) : fault(settings.fault)
{
    WriteManifests(settings.modules);
    configurationPath = folder.Write(
        "host.xml", "<WbmHostDocument><Log " + settings.log + "/><Http port=\"0\" hosts=\"test h\" " + settings.http +
                        "/><Users database=\"${OXA_STATE}/users.sqlite\"/><Sessions " + settings.sessions +
                        "/><Requests " + settings.requests + "/><Components>" + settings.components +
                        "</Components><Services>" + settings.services + "</Services><Modules folder=\"" +
                        folder.GetPath("modules") + "\"/>" + settings.other + "</WbmHostDocument>");
}

void HostProcess::WriteManifests(std::string_view modules) const
{
    constexpr std::string_view element = "<Module ";
    constexpr std::string_view name = "name=\"";
    std::filesystem::remove_all(folder.GetPath("modules"));
    std::filesystem::create_directory(folder.GetPath("modules"));
    for (std::size_t begin = modules.find(element); begin != std::string_view::npos;)
    {
        const std::size_t next = modules.find(element, begin + 1);
        const std::string_view module = modules.substr(begin, next - begin);
        const std::string_view value = module.substr(module.find(name) + name.size());
        folder.Write("modules/" + BasicString(value.substr(0, value.find('"'))) + ".xml",
                     "<WbmModuleDocument>" + BasicString(module) + "</WbmModuleDocument>");
        begin = next;
    }
}

std::vector<BasicString> HostProcess::MakeArguments() const
{
    return {OXA_WBM, "--config", configurationPath, "--state", folder.GetPath("state")};
}

void HostProcess::Start()
{
    std::vector<BasicString> arguments = MakeArguments();
    const std::pair<const char*, BasicString> variables[] = {
        {"FAKES", OXA_FAKES}, {"FAKE_TRACE", folder.GetPath("trace")}, {"FAKE_FAULT", fault}};
    for (const auto& [name, value] : variables)
    {
        arguments.insert(arguments.end(), {"--variable", BasicString(name) + '=' + value});
    }
    process = std::make_unique<Support::ChildProcess>(arguments);
}

void HostProcess::WaitUntilReady()
{
    Start();
    port = static_cast<uint16>(std::stoi(process->WaitForLine("listening on http://127.0.0.1:")));
}

int HostProcess::RunCommand(const std::vector<BasicString>& arguments, std::string_view input)
{
    Support::ChildProcess command(MakeCommand(arguments), input);
    const int status = command.Wait();
    commandOutput = command.GetOutput() + command.GetErrors();
    return status;
}

std::vector<BasicString> HostProcess::MakeCommand(const std::vector<BasicString>& commandArguments) const
{
    std::vector<BasicString> arguments = MakeArguments();
    arguments.emplace_back("--variable");
    arguments.emplace_back(BasicString("FAKES=") + OXA_FAKES);
    arguments.insert(arguments.end(), commandArguments.begin(), commandArguments.end());
    return arguments;
}

BasicString HostProcess::GetInitialPassword() const
{
    BasicString password = folder.Read("state/initial-password");
    password.pop_back();
    return password;
}

BasicString HostProcess::LogIn(const BasicString& userName, BasicString password) const
{
    const bool isFirst = password.empty() && std::filesystem::exists(folder.GetPath("state/initial-password"));
    if (password.empty())
    {
        password = isFirst ? GetInitialPassword() : BasicString(administratorPassword);
    }
    auto client = Connect();
    return isFirst ? LogInFirst(client, password) : EndToEnd::LogIn(client, userName, password);
}

Support::HttpClient::Answer HostProcess::Ask(std::string_view method, std::string_view target, std::string_view fields,
                                             std::string_view body) const
{
    return Connect().Ask(method, target, fields, body);
}

int HostProcess::Stop()
{
    process->SendSignal(SIGTERM);
    return process->Wait();
}

BasicString LogIn(Support::HttpClient& client, const BasicString& userName, const BasicString& password)
{
    const auto answer = client.Ask("POST", "/api/v1/session", "Content-Type: application/json\r\n",
                                   R"({"user":")" + userName + R"(","password":")" + password + "\"}");
    return GetAuthorization(answer.body());
}

BasicString LogInFirst(Support::HttpClient& client, const BasicString& initialPassword)
{
    const auto answer = client.Ask("POST", "/api/v1/session", "Content-Type: application/json\r\n",
                                   R"({"user":"admin","password":")" + initialPassword + "\"}");
    const auto changed = client.Ask(
        "POST", "/api/v1/session/password", GetAuthorization(answer.body()) + "Content-Type: application/json\r\n",
        R"({"password":")" + initialPassword + R"(","newPassword":")" + administratorPassword + "\"}");
    return GetAuthorization(changed.body());
}

BasicString GetMember(std::string_view json, std::string_view name)
{
    JsonReader reader(json);
    reader.Read();
    while (reader.Read() == JsonTokenType::PropertyName)
    {
        if (reader.GetText() == name)
        {
            reader.Read();
            return BasicString(reader.GetText());
        }
        reader.Skip();
    }
    return {};
}

} // namespace Oxa::Tests::EndToEnd
