#include "Di/DiModuleLibrary.hpp"

#include "Di/DiWbmModule.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Export.hpp"

namespace Oxa::Services::Modules::Wbm::Di
{

using Services::Commons::Wbm::Modules::IWbmModule;
using System::Commons::AppDomain;
using System::Commons::Singleton;
using System::Commons::Diagnostics::Logging::LogManager;

namespace
{

const BasicString moduleName = "Di";

std::unique_ptr<IWbmModule> CreateDiWbmModule()
{
    return std::make_unique<DiWbmModule>();
}

} // namespace

DiModuleLibrary::DiModuleLibrary(AppDomain& appDomain)
{
    Singleton<AppDomain>::TrySetInstance(appDomain);
    LogManager::AssignAppDomain(appDomain);
    GetModuleFactory().AddFactoryFunction(moduleName, CreateDiWbmModule);
}

DiModuleLibrary::~DiModuleLibrary() = default;

} // namespace Oxa::Services::Modules::Wbm::Di

/// The entry function. Every call returns the same object; only the first one looks at its argument, and when it
/// throws, the next call tries again.
extern "C" OXA_EXPORT Oxa::Services::Commons::Wbm::Modules::WbmModuleLibrary&
CreateWbmModuleLibrary(Oxa::System::Commons::AppDomain& appDomain)
{
    static Oxa::Services::Modules::Wbm::Di::DiModuleLibrary library(appDomain);
    return library;
}
