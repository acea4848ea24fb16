#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <set>
#include <utility>
#include <vector>

namespace Oxa::Host::Configuration
{
struct ModulesConfiguration;
}

namespace Oxa::Host::Modules
{

/// A data provider that a module registers.
struct DataProviderManifest
{
    BasicString name;
    /// Its requests change nothing, so GET is allowed.
    bool isSafe = false;
    /// Names of the requests that need the user's password again.
    std::set<BasicString, std::less<>> confirmedRequests = {};

    bool operator==(const DataProviderManifest&) const = default;
};

/// What a module brings and may do, as the file says that is installed with it. A value type.
struct ModuleManifest
{
    /// The name of the module in its library, and of the manifest's file without ".xml".
    BasicString name;
    /// Absolute.
    BasicString libraryPath;
    /// Absolute, a file or a folder of *.xml files; may be empty.
    BasicString settingsPath;
    std::vector<DataProviderManifest> dataProviders;
    /// For people; may be empty.
    BasicString version = {};
    /// Absolute; empty: the module has no page of its own.
    BasicString pageFolder = {};
    /// The languages of the page, each with a file in the folder, relative to it.
    std::vector<std::pair<BasicString, BasicString>> languageFiles = {};
    /// "FILE:LINE" of the element, for messages.
    BasicString position = {};
    /// Of library and settings: another text when one of these files was replaced or changed.
    BasicString fileStamp = {};

    bool operator==(const ModuleManifest&) const = default;
};

/// Where requests find the files of the module's page.
[[nodiscard]] inline BasicString GetPagePath(const BasicString& moduleName)
{
    return "/modules/" + moduleName + '/';
}

/// The files and folders that the manifest names: the library, the settings, a folder before the files in it, and those
/// of the page.
[[nodiscard]] std::vector<BasicString> ListFiles(const ModuleManifest& manifest);

/// A manifest that cannot be used, and why, in words.
struct ManifestFault
{
    BasicString moduleName;
    BasicString cause;

    bool operator==(const ManifestFault&) const = default;
};

struct ModuleManifests
{
    /// In the order of their names; no two with the same data provider.
    std::vector<ModuleManifest> manifests;
    std::vector<ManifestFault> faults;
};

/// Reads the manifests of the configured folder, without the modules that the configuration leaves out. A manifest with
/// a mistake, or one that other users could change, is a fault of that module alone. Throws InvalidOperationException
/// when the folder cannot be read or other users could change it.
[[nodiscard]] ModuleManifests LoadModuleManifests(const Configuration::ModulesConfiguration& configuration);

} // namespace Oxa::Host::Modules
