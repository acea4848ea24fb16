#pragma once

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Extensibility/ModuleLibraryBase.hpp"

namespace Oxa::System::Acf
{

class ComponentInfo;

/// A part of a process that comes from a shared library and has a life cycle: Setup, Start, Stop, in this order, once
/// each; destroyed after Stop. The process that created it owns it and calls one operation at a time.
class OXA_EXPORT IComponent
{
public:
    virtual ~IComponent();

    /// Prepares everything; nothing is offered to others yet. What it throws ends the component's life: neither Start
    /// nor Stop follows.
    virtual void Setup(const ComponentInfo& componentInfo) = 0;

    /// Offers services, starts threads. What it throws is followed by Stop.
    virtual void Start() = 0;

    /// Takes back what Start offered and ends its threads.
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
