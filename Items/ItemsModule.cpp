#include "Items/Internal/ItemsHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Items
{

using Internal::ItemsHandler;
using Services::Commons::Wbm::Modules::IWbmModuleHandler;
using Services::Commons::Wbm::Modules::ModuleInfo;
using Services::Commons::Wbm::Modules::WbmModuleBase;
using Services::Commons::Wbm::Modules::WbmModuleLibrary;
using Services::Commons::Wbm::Modules::Registration::DataProviderInfo;
using Services::Commons::Wbm::Modules::Registration::PageInfo;
using System::Commons::AppDomain;
using System::Commons::InvalidOperationException;
using System::Commons::Diagnostics::Logging::LogManager;

namespace
{

const BasicString moduleName = "Items";
const BasicString dataProviderName = "DeviceItemsDp";
const BasicString pageDataName = "DeviceItems";
const BasicString pageName = "items";

/// The module "Items": one data provider with its page, and no settings.
class ItemsModule final : public WbmModuleBase
{
public:
    /// Throws InvalidOperationException when the host refuses a registration, and what a service subscription throws.
    /// What was registered before stays so until `ResetModule`.
    void SetupModule(const ModuleInfo& /*moduleInfo*/, IWbmModuleHandler& moduleHandler) override
    {
        // A missing service is no failure: the handler stays registered and reports itself not available.
        handler->SubscribeService();

        isDataProviderRegistered = moduleHandler.RegisterDataProvider(DataProviderInfo(dataProviderName), handler);
        if (!isDataProviderRegistered)
        {
            throw InvalidOperationException::Create("Failed to register data provider: {0}", dataProviderName);
        }
        isPageRegistered = moduleHandler.RegisterPage(PageInfo(pageDataName, pageName, BasicString()), handler);
        if (!isPageRegistered)
        {
            throw InvalidOperationException::Create("Failed to register page: {0}", pageName);
        }
    }

    void ResetModule(IWbmModuleHandler& moduleHandler) override
    {
        if (isDataProviderRegistered)
        {
            moduleHandler.UnregisterDataProvider(dataProviderName);
            isDataProviderRegistered = false;
        }
        if (isPageRegistered)
        {
            moduleHandler.UnregisterPage(pageName);
            isPageRegistered = false;
        }
        handler->ReleaseService();
    }

private:
    const std::shared_ptr<ItemsHandler> handler = std::make_shared<ItemsHandler>();
    bool isDataProviderRegistered = false;
    bool isPageRegistered = false;
};

/// The content of this shared object; lives until it is unloaded.
class ItemsModuleLibrary final : public WbmModuleLibrary
{
public:
    explicit ItemsModuleLibrary(AppDomain& appDomain)
    {
        LogManager::AssignAppDomain(appDomain);
        GetModuleFactory().AddFactoryFunction(moduleName, [] { return std::make_unique<ItemsModule>(); });
    }
};

} // namespace

} // namespace Oxa::Services::Modules::Wbm::Items

/// The entry function. Every call returns the same object; when it throws, the next call tries again.
extern "C" OXA_EXPORT Oxa::Services::Commons::Wbm::Modules::WbmModuleLibrary&
CreateWbmModuleLibrary(Oxa::System::Commons::AppDomain& appDomain)
{
    static Oxa::Services::Modules::Wbm::Items::ItemsModuleLibrary library(appDomain);
    return library;
}
