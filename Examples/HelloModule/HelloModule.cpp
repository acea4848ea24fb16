#include "HelloModule.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

namespace Hello
{

using Oxa::BasicString;
using Oxa::Services::Commons::Wbm::Modules::IWbmModuleHandler;
using Oxa::Services::Commons::Wbm::Modules::ModuleInfo;
using Oxa::Services::Commons::Wbm::Modules::Registration::DataProviderInfo;
using Oxa::System::Commons::InvalidOperationException;

namespace
{
const BasicString dataProviderName = "HelloDp";
} // namespace

HelloModule::HelloModule() : handler(std::make_shared<HelloHandler>()) {}

HelloModule::~HelloModule() = default;

void HelloModule::SetupModule(const ModuleInfo& /*moduleInfo*/, IWbmModuleHandler& moduleHandler)
{
    if (!moduleHandler.RegisterDataProvider(DataProviderInfo(dataProviderName), handler))
    {
        throw InvalidOperationException::Create("Failed to register data provider: {0}", dataProviderName);
    }
    isRegistered = true;
}

void HelloModule::ResetModule(IWbmModuleHandler& moduleHandler)
{
    if (isRegistered)
    {
        moduleHandler.UnregisterDataProvider(dataProviderName);
        isRegistered = false;
    }
}

} // namespace Hello
