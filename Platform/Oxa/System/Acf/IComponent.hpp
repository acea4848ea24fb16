#pragma once

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Extensibility/ModuleLibraryBase.hpp"
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

    /// Empty without settings.
    [[nodiscard]] const BasicString& GetSettingsPath() const noexcept
    {
        return settingsPath;
    }

private:
    BasicString componentName;
    BasicString settingsPath;
};

/// A part of a process that a shared library provides, with a life cycle: Setup, Start, Stop, in this order, once each;
/// destroyed after Stop. The process that created it owns it and calls one operation at a time.
class OXA_EXPORT IComponent
{
public:
    virtual ~IComponent();

    /// Prepares everything; provides nothing yet. If it throws, the component is destroyed without Start or Stop.
    virtual void Setup(const ComponentInfo& componentInfo) = 0;

    /// Provides services, starts threads. If it throws, Stop follows.
    virtual void Start() = 0;

    /// Withdraws what Start provided and ends its threads.
    virtual void Stop() noexcept = 0;
};

/// What the entry function of a component library returns; the library owns it.
using ComponentLibraryBase = System::Commons::Extensibility::ModuleLibraryBase<IComponent>;

/// The type and the name of the entry function, for the process that loads components.
using ComponentLibraryEntry = ComponentLibraryBase&(System::Commons::AppDomain& appDomain);
inline constexpr const char* componentLibraryEntryName = "CreateComponentLibrary";

} // namespace Oxa::System::Acf

/// The entry function of every component library, which defines it; declared here so that a definition of another type
/// does not compile.
extern "C" OXA_EXPORT Oxa::System::Acf::ComponentLibraryBase&
CreateComponentLibrary(Oxa::System::Commons::AppDomain& appDomain);
