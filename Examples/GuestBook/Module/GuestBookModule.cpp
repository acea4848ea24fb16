#include "GuestBookModule.hpp"

#include "GuestBookServiceProxyFactory.hpp"
#include "IGuestBookService.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace GuestBook
{

using Oxa::BasicString;
using Oxa::Services::Commons::Wbm::Modules::IWbmModuleHandler;
using Oxa::Services::Commons::Wbm::Modules::ModuleInfo;
using Oxa::Services::Commons::Wbm::Modules::Registration::DataProviderInfo;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::System::Rsc::IRscService;
using Oxa::System::Rsc::ServiceManager;

namespace
{

const BasicString dataProviderName = "GuestBookDp";

/// Null when nobody provides the service.
std::shared_ptr<IGuestBookService> FindService()
{
    auto& factory = GuestBookServiceProxyFactory::GetInstance();
    const std::shared_ptr<IRscService> proxy(ServiceManager::GetService(factory.GetServiceProviderName(), factory));
    return std::dynamic_pointer_cast<IGuestBookService>(proxy);
}

} // namespace

GuestBookModule::GuestBookModule() : handler(std::make_shared<GuestBookHandler>()) {}

GuestBookModule::~GuestBookModule() = default;

void GuestBookModule::SetupModule(const ModuleInfo& /*moduleInfo*/, IWbmModuleHandler& moduleHandler)
{
    handler->SetService(FindService());
    if (!moduleHandler.RegisterDataProvider(DataProviderInfo(dataProviderName), handler))
    {
        throw InvalidOperationException::Create("Failed to register data provider: {0}", dataProviderName);
    }
    isRegistered = true;
}

void GuestBookModule::ResetModule(IWbmModuleHandler& moduleHandler)
{
    if (isRegistered)
    {
        moduleHandler.UnregisterDataProvider(dataProviderName);
        isRegistered = false;
    }
    handler->SetService(nullptr);
}

} // namespace GuestBook
