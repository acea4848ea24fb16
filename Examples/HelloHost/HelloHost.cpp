#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Acf/SharedLibrary.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>

namespace
{

using Oxa::BasicString;
using Oxa::System::Acf::SharedLibrary;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;
using Oxa::System::Rsc::ServiceManager;
using Oxa::System::Um::SecurityToken;
using namespace Oxa::Services::Commons::Wbm;
using namespace Oxa::Services::Commons::Wbm::Modules;

/// Keeps the data providers of one module until they are unregistered. This host has no pages.
class DataProviders final : public IWbmModuleHandler
{
public:
    bool RegisterPage(const Registration::PageInfo& /*pageInfo*/,
                      std::shared_ptr<WbmPageHandlerBase> /*handler*/) override
    {
        return true;
    }

    void UnregisterPage(const BasicString& /*pageName*/) override {}

    bool RegisterDataProvider(const Registration::DataProviderInfo& dataProviderInfo,
                              std::shared_ptr<WbmRequestHandlerBase> handler) override
    {
        return handlers.emplace(dataProviderInfo.GetDataProviderName(), std::move(handler)).second;
    }

    void UnregisterDataProvider(const BasicString& dataProviderName) override
    {
        handlers.erase(dataProviderName);
    }

    void RegisterSupportedLanguage(const BasicString& /*language*/) override {}

    void UnregisterSupportedLanguage(const BasicString& /*language*/) override {}

    BasicString Call(const BasicString& dataProviderName, const WbmRequest& request)
    {
        const auto found = handlers.find(dataProviderName);
        if (found == handlers.end() || !found->second->IsAvailable())
        {
            return "not available";
        }
        if (!found->second->HasPermissions(request.GetSecurityToken()))
        {
            return "no permission";
        }
        return found->second->HandleRequest(request).GetBody();
    }

private:
    std::map<BasicString, std::shared_ptr<WbmRequestHandlerBase>> handlers;
};

/// In this order: handlers are destroyed before the module that created them, and the library is unloaded last.
struct LoadedModule
{
    SharedLibrary library;
    std::unique_ptr<IWbmModule> module;
    DataProviders dataProviders;
};

void UseModule(AppDomain& appDomain, LoadedModule& loaded, const BasicString& moduleName, const WbmRequest& request)
{
    auto* const entry = loaded.library.GetFunction<WbmModuleLibraryEntry>(wbmModuleLibraryEntryName);
    loaded.module = entry(appDomain).GetModuleFactory().CreateModule(moduleName);
    if (!loaded.module)
    {
        std::cerr << "the library has no module '" << moduleName << "'\n";
        return;
    }
    loaded.module->SetupModule(ModuleInfo(moduleName, ""), loaded.dataProviders);
    loaded.module->StartModule();
    std::cout << loaded.dataProviders.Call("HelloDp", request) << std::endl;
    loaded.module->StopModule();
    loaded.module->ResetModule(loaded.dataProviders);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: HelloHost LIBRARY\n";
        return EXIT_FAILURE;
    }
    AppDomain appDomain("HelloHost");
    LogManager::AssignAppDomain(appDomain);
    // Services that the module asks for are registered, or their endpoints set, here: before the set-up.
    try
    {
        LoadedModule loaded{SharedLibrary(argv[1]), nullptr, {}};
        try
        {
            UseModule(appDomain, loaded, "Hello",
                      WbmRequest("SayHello", RequestParams(RequestQuery("name=host")), SecurityToken(1)));
        }
        catch (const std::exception& exception)
        {
            // Caught here, so that the module's exception is destroyed before its library is unloaded.
            std::cerr << "the module failed: " << exception.what() << '\n';
        }
        // Proxies to other processes may have come with the module's library.
        ServiceManager::ResetEndpoints();
    }
    catch (const std::exception& exception)
    {
        std::cerr << exception.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
