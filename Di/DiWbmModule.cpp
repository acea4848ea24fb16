#include "Di/DiWbmModule.hpp"

#include "Di/Internal/DiControlHandler.hpp"
#include "Di/Internal/DiHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"

namespace Oxa::Services::Modules::Wbm::Di
{

using Internal::DiControlHandler;
using Internal::DiHandler;
using Internal::Settings::DiSettings;
using Services::Commons::Wbm::Modules::IWbmModuleHandler;
using Services::Commons::Wbm::Modules::ModuleInfo;
using System::Commons::InvalidOperationException;
using System::Commons::Xml::MultiXmlConfigDocument;

namespace
{

const BasicString dataProviderName = "DeviceInterfaceDp";
const BasicString controlDataProviderName = "DeviceInterfaceControlDp";
const BasicString pageDataName = "GeneralData";
const BasicString pageName = "overview";

void ThrowIfRefused(bool isRegistered, const char* messageTemplate, const BasicString& name)
{
    if (!isRegistered)
    {
        throw InvalidOperationException::Create(messageTemplate, name);
    }
}

constexpr const char* dataProviderRefused = "Failed to register data provider: {0}";
constexpr const char* pageRefused = "Failed to register page: {0}";

} // namespace

DiWbmModule::DiWbmModule()
    : dataProviderInfo(dataProviderName),
      controlDataProviderInfo(controlDataProviderName),
      pageInfo(pageDataName, pageName, BasicString()),
      diHandler(std::make_shared<DiHandler>(settings)),
      diControlHandler(std::make_shared<DiControlHandler>())
{
}

DiWbmModule::~DiWbmModule() = default;

void DiWbmModule::SetupModule(const ModuleInfo& newModuleInfo, IWbmModuleHandler& moduleHandler)
{
    moduleInfo = newModuleInfo;
    Init(moduleInfo.GetSettingsPath());

    isDataProviderRegistered = moduleHandler.RegisterDataProvider(dataProviderInfo, diHandler);
    ThrowIfRefused(isDataProviderRegistered, dataProviderRefused, dataProviderInfo.GetDataProviderName());

    isControlDataProviderRegistered = moduleHandler.RegisterDataProvider(controlDataProviderInfo, diControlHandler);
    ThrowIfRefused(isControlDataProviderRegistered, dataProviderRefused, controlDataProviderInfo.GetDataProviderName());

    isPageRegistered = moduleHandler.RegisterPage(pageInfo, diHandler);
    ThrowIfRefused(isPageRegistered, pageRefused, pageInfo.GetPageName());

    for (const BasicString& language : settings.supportedLanguages)
    {
        moduleHandler.RegisterSupportedLanguage(language);
    }
    isSetUp = true;
}

void DiWbmModule::ResetModule(IWbmModuleHandler& moduleHandler)
{
    if (isDataProviderRegistered)
    {
        moduleHandler.UnregisterDataProvider(dataProviderInfo.GetDataProviderName());
        isDataProviderRegistered = false;
    }
    if (isControlDataProviderRegistered)
    {
        moduleHandler.UnregisterDataProvider(controlDataProviderInfo.GetDataProviderName());
        isControlDataProviderRegistered = false;
    }
    if (isPageRegistered)
    {
        moduleHandler.UnregisterPage(pageInfo.GetPageName());
        isPageRegistered = false;
    }
    // Also those that were never registered: the host ignores a language that it does not know.
    for (const BasicString& language : settings.supportedLanguages)
    {
        moduleHandler.UnregisterSupportedLanguage(language);
    }
    isSetUp = false;
}

void DiWbmModule::Init(const BasicString& settingsPath)
{
    MultiXmlConfigDocument document(DiSettings::GetDocumentElementName(), settings);
    document.Load(settingsPath);

    // Missing services are no failure: a handler without them stays registered and reports itself not available.
    diHandler->SubscribeServices();
    diHandler->Setup();
    diControlHandler->SubscribeServices();
}

} // namespace Oxa::Services::Modules::Wbm::Di
