#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm::Modules
{

/// What the host tells a module about itself. A value type.
class ModuleInfo final
{
public:
    ModuleInfo() = default;

    ModuleInfo(BasicString moduleName, BasicString settingsPath)
        : moduleName(std::move(moduleName)), settingsPath(std::move(settingsPath))
    {
    }

    [[nodiscard]] const BasicString& GetModuleName() const noexcept
    {
        return moduleName;
    }

    /// A file, or a folder of *.xml files.
    [[nodiscard]] const BasicString& GetSettingsPath() const noexcept
    {
        return settingsPath;
    }

private:
    BasicString moduleName;
    BasicString settingsPath;
};

} // namespace Oxa::Services::Commons::Wbm::Modules
