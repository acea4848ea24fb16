#include "Host/Modules/LoadedModule.hpp"

#include "Oxa/System/Commons/Extensibility/ModuleLibraryBase.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

namespace Oxa::Host::Modules
{

using Services::Commons::Wbm::Modules::IWbmModule;
using WbmModuleLibrary = System::Commons::Extensibility::ModuleLibraryBase<IWbmModule>;
using EntryFunction = WbmModuleLibrary&(System::Commons::AppDomain&);

LoadedModule::LoadedModule(const Configuration::ModuleConfiguration& configuration, ModuleRegistry& registry)
    : configuration(configuration), library(configuration.libraryPath), registrations(registry)
{
}

void LoadedModule::Create(System::Commons::AppDomain& appDomain)
{
    EntryFunction* const entry = library.GetFunction<EntryFunction>("CreateWbmModuleLibrary");
    module = entry(appDomain).GetModuleFactory().CreateModule(configuration.name);
    if (!module)
    {
        throw System::Commons::InvalidOperationException::Create("the library has no module of the name '{0}'",
                                                                 configuration.name);
    }
}

} // namespace Oxa::Host::Modules
