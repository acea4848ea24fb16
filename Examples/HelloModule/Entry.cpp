#include "HelloModule.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Extensibility/ModuleLibraryBase.hpp"

#include <memory>

namespace
{

using Oxa::Services::Commons::Wbm::Modules::IWbmModule;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;
using ModuleLibrary = Oxa::System::Commons::Extensibility::ModuleLibraryBase<IWbmModule>;

std::unique_ptr<IWbmModule> CreateHelloModule()
{
    return std::make_unique<Hello::HelloModule>();
}

/// Lists what the library can create; lives until it is unloaded.
class HelloModuleLibrary final : public ModuleLibrary
{
public:
    explicit HelloModuleLibrary(AppDomain& appDomain)
    {
        LogManager::AssignAppDomain(appDomain);
        GetModuleFactory().AddFactoryFunction("Hello", &CreateHelloModule);
    }
};

} // namespace

extern "C" OXA_EXPORT ModuleLibrary& CreateWbmModuleLibrary(AppDomain& appDomain)
{
    static HelloModuleLibrary library(appDomain);
    return library;
}
