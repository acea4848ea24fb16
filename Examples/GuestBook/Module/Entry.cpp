#include "GuestBookModule.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"

#include <memory>

namespace
{

using Oxa::Services::Commons::Wbm::Modules::IWbmModule;
using Oxa::Services::Commons::Wbm::Modules::WbmModuleLibrary;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;

std::unique_ptr<IWbmModule> CreateGuestBookModule()
{
    return std::make_unique<GuestBook::GuestBookModule>();
}

/// Lists what the library can create; lives until it is unloaded.
class GuestBookModuleLibrary final : public WbmModuleLibrary
{
public:
    explicit GuestBookModuleLibrary(AppDomain& appDomain)
    {
        LogManager::AssignAppDomain(appDomain);
        GetModuleFactory().AddFactoryFunction("GuestBook", &CreateGuestBookModule);
    }
};

} // namespace

extern "C" OXA_EXPORT WbmModuleLibrary& CreateWbmModuleLibrary(AppDomain& appDomain)
{
    static GuestBookModuleLibrary library(appDomain);
    return library;
}
