#include "Host/Modules/ModuleManifest.hpp"

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Configuration/ReservedNames.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/TrustedPath.hpp"
#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <string_view>
#include <system_error>

namespace Oxa::Host::Modules
{

using Configuration::ModuleConfiguration;
using Configuration::ModulesConfiguration;
using System::Commons::InvalidOperationException;
using System::Commons::XmlException;
using System::Commons::Text::Format;
using System::Commons::Xml::MultiXmlConfigDocument;
using System::Commons::Xml::XmlElementReader;

namespace
{

/// A path of a manifest is relative to the manifest's folder.
BasicString Resolve(const XmlElementReader& element, const BasicString& path)
{
    const std::filesystem::path folder = std::filesystem::path(element.GetFileName()).parent_path();
    return path.empty() ? path : (folder / path).lexically_normal().string();
}

void ReadRequest(XmlElementReader& element, DataProviderManifest& provider)
{
    BasicString name;
    bool isConfirmed = false;
    element.ReadRequired("name", name);
    element.Read("confirm", isConfirmed);
    if (isConfirmed && provider.isSafe)
    {
        element.ReportBadValue("confirm", "true", "false in a data provider that is safe");
    }
    if (isConfirmed)
    {
        provider.confirmedRequests.insert(std::move(name));
    }
}

void ReadDataProvider(XmlElementReader& element, ModuleManifest& manifest)
{
    DataProviderManifest provider;
    element.ReadRequired("name", provider.name);
    if (std::ranges::find(Configuration::reservedNames, provider.name) != std::end(Configuration::reservedNames))
    {
        element.ReportBadValue("name", provider.name, "a name that is not reserved");
    }
    element.RequireNew("name", provider.name, manifest.dataProviders, &DataProviderManifest::name);
    element.Read("safe", provider.isSafe);
    element.ReadList("Request", [&provider](XmlElementReader& child) { ReadRequest(child, provider); });
    manifest.dataProviders.push_back(std::move(provider));
}

void ReadLanguage(XmlElementReader& element, ModuleManifest& manifest)
{
    BasicString name;
    BasicString file;
    element.ReadRequired("name", name);
    element.ReadRequired("file", file);
    const std::filesystem::path path = file;
    if (path.is_absolute() || std::ranges::find(path, "..") != path.end())
    {
        element.ReportBadValue("file", file, "a path inside the page's folder");
    }
    manifest.languageFiles.emplace_back(std::move(name), std::move(file));
}

void ReadPage(XmlElementReader& element, ModuleManifest& manifest)
{
    element.ReadRequired("folder", manifest.pageFolder);
    manifest.pageFolder = Resolve(element, manifest.pageFolder);
    element.ReadList("Language", [&manifest](XmlElementReader& child) { ReadLanguage(child, manifest); });
}

void ReadModule(XmlElementReader& element, ModuleManifest& manifest)
{
    const BasicString expectedName = std::move(manifest.name);
    element.ReadRequired("name", manifest.name);
    if (manifest.name != expectedName)
    {
        element.ReportBadValue("name", manifest.name, "the name of its file, '" + expectedName + "'");
    }
    element.ReadRequired("library", manifest.libraryPath);
    manifest.libraryPath = Resolve(element, manifest.libraryPath);
    element.Read("settings", manifest.settingsPath);
    manifest.settingsPath = Resolve(element, manifest.settingsPath);
    element.Read("version", manifest.version);
    manifest.position = element.GetPosition();
    element.ReadChildren({{"DataProvider", [&manifest](XmlElementReader& child) { ReadDataProvider(child, manifest); },
                           XmlElementReader::Count::Many},
                          {"Page", [&manifest](XmlElementReader& child)
                           {
                               ReadPage(child, manifest);
                           }}});
}

ModuleManifest ReadManifest(const BasicString& path, BasicString moduleName)
{
    ModuleManifest manifest;
    manifest.name = std::move(moduleName);
    XmlElementReader::ReadFile(path, "WbmModuleDocument",
                               [&manifest](XmlElementReader& root)
                               {
                                   const bool isThere =
                                       root.ReadChildren({{"Module", [&manifest](XmlElementReader& child)
                                                           {
                                                               ReadModule(child, manifest);
                                                           }}});
                                   if (!isThere)
                                   {
                                       root.Report("the element 'Module' is missing");
                                   }
                               });
    return manifest;
}

/// What is no folder, or one without files, is for the module to report.
void AppendFolder(std::vector<BasicString>& paths, const BasicString& folder)
{
    try
    {
        const auto files = MultiXmlConfigDocument::ListFiles(folder);
        paths.insert(paths.end(), files.begin(), files.end());
    }
    catch (const XmlException&)
    {
    }
}

/// Files that cannot be read have an empty stamp; the code that uses them reports why.
BasicString MakeStamp(const std::vector<BasicString>& paths)
{
    BasicString stamp;
    for (const BasicString& path : paths)
    {
        struct stat status = {};
        if (stat(path.c_str(), &status) == 0)
        {
            stamp += Format("{0}:{1}:{2}:{3}.{4};", status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
                            status.st_mtim.tv_nsec);
        }
    }
    return stamp;
}

/// A module whose data provider another one has already is a fault.
void RefuseDuplicates(ModuleManifests& result)
{
    std::map<BasicString, BasicString> owners;
    const auto isDuplicate = [&owners, &result](const ModuleManifest& manifest)
    {
        for (const auto& provider : manifest.dataProviders)
        {
            const auto owner = owners.find(provider.name);
            if (owner != owners.end())
            {
                result.faults.push_back({manifest.name, Format("{0}: the data provider '{1}' belongs to the module "
                                                               "'{2}'",
                                                               manifest.position, provider.name, owner->second)});
                return true;
            }
        }
        for (const auto& provider : manifest.dataProviders)
        {
            owners.emplace(provider.name, manifest.name);
        }
        return false;
    };
    // In order, which std::erase_if does not promise.
    std::vector<ModuleManifest> kept;
    for (ModuleManifest& manifest : result.manifests)
    {
        if (!isDuplicate(manifest))
        {
            kept.push_back(std::move(manifest));
        }
    }
    result.manifests = std::move(kept);
}

std::vector<BasicString> ListManifests(const ModulesConfiguration& configuration)
{
    BasicString cause = System::Commons::FindPathWeakness(configuration.folder).value_or("");
    if (!cause.empty())
    {
        throw InvalidOperationException::Create("cannot use the folder of the modules: {0}", cause);
    }
    std::vector<BasicString> paths;
    std::error_code error;
    for (std::filesystem::directory_iterator each(configuration.folder, error), end; !error && each != end;
         each.increment(error))
    {
        const BasicString name = each->path().filename().string();
        if (name.ends_with(".xml") && !name.starts_with('.'))
        {
            paths.push_back(each->path().string());
        }
    }
    if (error)
    {
        throw InvalidOperationException::Create("cannot read the folder of the modules '{0}': {1}",
                                                configuration.folder, error.message());
    }
    std::ranges::sort(paths);
    return paths;
}

} // namespace

std::vector<BasicString> ListFiles(const ModuleManifest& manifest)
{
    std::vector<BasicString> paths = {manifest.libraryPath};
    if (!manifest.settingsPath.empty())
    {
        paths.push_back(manifest.settingsPath);
        AppendFolder(paths, manifest.settingsPath);
    }
    if (!manifest.pageFolder.empty())
    {
        paths.push_back(manifest.pageFolder);
    }
    for (const auto& language : manifest.languageFiles)
    {
        paths.push_back(manifest.pageFolder + '/' + language.second);
    }
    return paths;
}

ModuleManifests LoadModuleManifests(const ModulesConfiguration& configuration)
{
    ModuleManifests result;
    if (configuration.folder.empty())
    {
        return result;
    }
    for (const BasicString& path : ListManifests(configuration))
    {
        const BasicString name = std::filesystem::path(path).stem().string();
        const auto found = std::ranges::find(configuration.modules, name, &ModuleConfiguration::name);
        const bool isConfigured = found != configuration.modules.end();
        if (isConfigured && !found->isEnabled)
        {
            continue;
        }
        if (const auto weakness = System::Commons::FindPathWeakness(path))
        {
            result.faults.push_back({name, *weakness});
            continue;
        }
        try
        {
            ModuleManifest manifest = ReadManifest(path, name);
            if (isConfigured && !found->settingsPath.empty())
            {
                manifest.settingsPath = found->settingsPath;
            }
            manifest.fileStamp = MakeStamp(ListFiles(manifest));
            result.manifests.push_back(std::move(manifest));
        }
        catch (const XmlException& exception)
        {
            result.faults.push_back({name, exception.GetMessageWithPosition()});
        }
    }
    RefuseDuplicates(result);
    return result;
}

} // namespace Oxa::Host::Modules
