#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <utility>

namespace Oxa::System::Acf
{

/// What a process tells a component about itself. A value type.
class ComponentInfo final
{
public:
    ComponentInfo() = default;

    ComponentInfo(BasicString componentName, BasicString settingsPath)
        : componentName(std::move(componentName)), settingsPath(std::move(settingsPath))
    {
    }

    [[nodiscard]] const BasicString& GetComponentName() const noexcept
    {
        return componentName;
    }

    /// Empty when the configuration names none.
    [[nodiscard]] const BasicString& GetSettingsPath() const noexcept
    {
        return settingsPath;
    }

private:
    BasicString componentName;
    BasicString settingsPath;
};

} // namespace Oxa::System::Acf
