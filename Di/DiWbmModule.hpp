#pragma once

#include "Di/Internal/Settings/DiSettings.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/Registration/DataProviderInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/Registration/PageInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di
{

namespace Internal
{
class DiControlHandler;
class DiHandler;
} // namespace Internal

/// The module "Di": owns the settings and both request handlers, and registers them with the host.
/// Threads: the host calls one operation at a time. Destroying it in any state is allowed and unregisters nothing.
class DiWbmModule final : public Services::Commons::Wbm::Modules::WbmModuleBase
{
public:
    DiWbmModule();
    ~DiWbmModule() override;

    /// Throws XmlException when the settings cannot be read, InvalidOperationException when the host refuses a
    /// registration, and what a service subscription throws. What was registered before stays so until `ResetModule`.
    void SetupModule(const Services::Commons::Wbm::Modules::ModuleInfo& newModuleInfo,
                     Services::Commons::Wbm::Modules::IWbmModuleHandler& moduleHandler) override;

    /// Keeps the handlers, their services and the settings.
    void ResetModule(Services::Commons::Wbm::Modules::IWbmModuleHandler& moduleHandler) override;

private:
    void Init(const BasicString& settingsPath);

    bool isSetUp = false;
    Services::Commons::Wbm::Modules::Registration::DataProviderInfo dataProviderInfo;
    Services::Commons::Wbm::Modules::Registration::DataProviderInfo controlDataProviderInfo;
    Services::Commons::Wbm::Modules::Registration::PageInfo pageInfo;
    bool isDataProviderRegistered = false;
    bool isControlDataProviderRegistered = false;
    bool isPageRegistered = false;
    Services::Commons::Wbm::Modules::ModuleInfo moduleInfo;
    Internal::Settings::DiSettings settings;
    std::shared_ptr<Internal::DiHandler> diHandler;
    std::shared_ptr<Internal::DiControlHandler> diControlHandler;
};

} // namespace Oxa::Services::Modules::Wbm::Di
