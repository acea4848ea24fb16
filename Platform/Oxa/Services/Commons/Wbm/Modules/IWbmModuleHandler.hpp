#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/Registration/DataProviderInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/Registration/PageInfo.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Services::Commons::Wbm::Modules
{

class WbmPageHandlerBase;
class WbmRequestHandlerBase;

/// The host's interface for a module that is set up or reset. The host keeps the handlers until they are unregistered.
/// Threads: only the one that calls the module's `SetupModule` or `ResetModule`, while that call lasts. It may be
/// another one for each call, and other modules are called at the same time; the host locks what they share.
class OXA_EXPORT IWbmModuleHandler
{
public:
    virtual ~IWbmModuleHandler();

    /// False when a page of that name is registered already.
    [[nodiscard]] virtual bool RegisterPage(const Registration::PageInfo& pageInfo,
                                            std::shared_ptr<WbmPageHandlerBase> handler) = 0;
    /// Returns when no call of the page's handler is in progress; none follows.
    virtual void UnregisterPage(const BasicString& pageName) = 0;

    /// False when a data provider of that name is registered already.
    [[nodiscard]] virtual bool RegisterDataProvider(const Registration::DataProviderInfo& dataProviderInfo,
                                                    std::shared_ptr<WbmRequestHandlerBase> handler) = 0;
    /// Returns when no call of the data provider's handler is in progress, neither a request nor a check; none follows.
    virtual void UnregisterDataProvider(const BasicString& dataProviderName) = 0;

    virtual void RegisterSupportedLanguage(const BasicString& language) = 0;
    virtual void UnregisterSupportedLanguage(const BasicString& language) = 0;
};

} // namespace Oxa::Services::Commons::Wbm::Modules
