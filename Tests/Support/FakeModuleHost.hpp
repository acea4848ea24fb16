#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

#include <memory>
#include <utility>
#include <vector>

namespace Oxa::Tests::Support
{

/// A host that writes down what it is told, keeps all handlers as long as it lives, and refuses one name.
class FakeModuleHost final : public Services::Commons::Wbm::Modules::IWbmModuleHandler
{
public:
    bool RegisterPage(const Services::Commons::Wbm::Modules::Registration::PageInfo& pageInfo,
                      std::shared_ptr<Services::Commons::Wbm::Modules::WbmPageHandlerBase> handler) override
    {
        pageHandler = std::move(handler);
        return Record("+page " + pageInfo.GetDataName() + "/" + pageInfo.GetPageName() + "/" +
                          pageInfo.GetParentPageName(),
                      pageInfo.GetPageName());
    }

    void UnregisterPage(const BasicString& pageName) override
    {
        Record("-page " + pageName, "");
    }

    bool RegisterDataProvider(const Services::Commons::Wbm::Modules::Registration::DataProviderInfo& dataProviderInfo,
                              std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase> handler) override
    {
        handlers.push_back(std::move(handler));
        return Record("+provider " + dataProviderInfo.GetDataProviderName(), dataProviderInfo.GetDataProviderName());
    }

    void UnregisterDataProvider(const BasicString& dataProviderName) override
    {
        Record("-provider " + dataProviderName, "");
    }

    void RegisterSupportedLanguage(const BasicString& language) override
    {
        Record("+language " + language, "");
    }

    void UnregisterSupportedLanguage(const BasicString& language) override
    {
        Record("-language " + language, "");
    }

    std::vector<BasicString> TakeCalls()
    {
        return std::exchange(calls, {});
    }

    BasicString refusedName = "nothing";
    std::shared_ptr<Services::Commons::Wbm::Modules::WbmPageHandlerBase> pageHandler;
    std::vector<std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase>> handlers;

private:
    bool Record(BasicString call, const BasicString& name)
    {
        calls.push_back(std::move(call));
        return name != refusedName;
    }

    std::vector<BasicString> calls;
};

} // namespace Oxa::Tests::Support
