#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModule.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Extensibility/ModuleLibraryBase.hpp"

namespace Oxa::Services::Commons::Wbm::Modules
{

/// What the entry function of a module library returns; the library owns it.
using WbmModuleLibrary = System::Commons::Extensibility::ModuleLibraryBase<IWbmModule>;

/// The type and the name of the entry function, for hosts.
using WbmModuleLibraryEntry = WbmModuleLibrary&(System::Commons::AppDomain& appDomain);
inline constexpr const char* wbmModuleLibraryEntryName = "CreateWbmModuleLibrary";

} // namespace Oxa::Services::Commons::Wbm::Modules

/// The entry function of every module library, which defines it; declared here so that a definition of another type
/// does not compile. Every call returns the same object. If it throws, the library cannot be used.
extern "C" OXA_EXPORT Oxa::Services::Commons::Wbm::Modules::WbmModuleLibrary&
CreateWbmModuleLibrary(Oxa::System::Commons::AppDomain& appDomain);
