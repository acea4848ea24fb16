#include "Oxa/System/Commons/ProgramVariables.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"

#include <filesystem>

namespace Oxa::System::Commons
{

namespace
{

BasicString GetLibraryFolder()
{
    const auto programFolder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return (programFolder.parent_path() / "lib").string();
}

} // namespace

BasicString FindVariableMistake(const BasicString& text)
{
    const std::size_t equals = text.find('=');
    return equals == 0 || equals == BasicString::npos ? "'" + text + "' is not NAME=VALUE" : BasicString();
}

ProgramVariables SplitVariables(const std::vector<BasicString>& texts)
{
    ProgramVariables variables;
    for (const BasicString& text : texts)
    {
        const std::size_t equals = text.find('=');
        variables.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return variables;
}

void SetProgramVariables(AppDomain& appDomain, const BasicString& configurationPath, const ProgramVariables& variables)
{
    appDomain.SetVariable("OXA_CONFIG", std::filesystem::absolute(configurationPath).parent_path().string());
    appDomain.SetVariable("OXA_LIBRARIES", GetLibraryFolder());
    for (const auto& [name, value] : variables)
    {
        appDomain.SetVariable(name, value);
    }
}

} // namespace Oxa::System::Commons
