#include "GuestBookModule.hpp"
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

std::unique_ptr<IWbmModule> CreateGuestBookModule()
{
    return std::make_unique<GuestBook::GuestBookModule>();
}

/// Lists what the library can create; lives until it is unloaded.
class GuestBookModuleLibrary final : public ModuleLibrary
{
public:
    explicit GuestBookModuleLibrary(AppDomain& appDomain)
    {
        LogManager::AssignAppDomain(appDomain);
        GetModuleFactory().AddFactoryFunction("GuestBook", &CreateGuestBookModule);
    }
};

} // namespace

extern "C" OXA_EXPORT ModuleLibrary& CreateWbmModuleLibrary(AppDomain& appDomain)
{
    static GuestBookModuleLibrary library(appDomain);
    return library;
}
