#include "Oxa/Services/Commons/Wbm/Json/JsonResponse.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <memory>
#include <utility>

namespace
{

using Oxa::BasicString;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::InvalidOperationException;
using namespace Oxa::Services::Commons::Wbm;
using namespace Oxa::Services::Commons::Wbm::Modules;
using namespace Oxa::System::Commons::Json;

const BasicString dataProviderName = "HelloDp";
const BasicString pageName = "hello";
const BasicString languages[] = {"en", "de"};

/// The payload of a response: one member "greeting".
class Greeting final : public IJsonSerializable
{
public:
    explicit Greeting(BasicString text) : text(std::move(text)) {}

    /// Does nothing: responses are only written.
    void ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) override {}

    void WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/) override
    {
        writer.WriteValue("greeting", text);
    }

private:
    const BasicString text;
};

/// Handles the requests of the data provider "HelloDp".
class HelloHandler final : public WbmRequestHandlerBase
{
public:
    HelloHandler()
    {
        RegisterHandlerDelegate("SayHello", HandlerDelegate::Bind(*this, &HelloHandler::SayHello));
    }

private:
    /// Greets the query parameter "name", or the world.
    WbmResponse SayHello(const WbmRequest& request)
    {
        BasicString name = "world";
        request.GetRequestParams().GetQuery().TryGetParameterValue("name", name, false);

        Greeting greeting("Hello, " + name + "!");
        Json::JsonResponse response("", greeting, Json::ResultKind::Object);
        return WbmResponse(ResponseHeader(ContentType::Application, ContentSubtype::Json, CharsetType::Utf8),
                           response.ToJsonString());
    }
};

/// Shows the page to every user who is logged in.
class HelloPage final : public WbmPageHandlerBase
{
};

/// The module "Hello": one data provider, one page and no settings.
class HelloModule final : public WbmModuleBase
{
public:
    void SetupModule(const ModuleInfo& /*moduleInfo*/, IWbmModuleHandler& moduleHandler) override
    {
        if (!moduleHandler.RegisterDataProvider(Registration::DataProviderInfo(dataProviderName), handler))
        {
            throw InvalidOperationException::Create("Failed to register data provider: {0}", dataProviderName);
        }
        isRegistered = true;
        if (!moduleHandler.RegisterPage(Registration::PageInfo(dataProviderName, pageName, ""), page))
        {
            throw InvalidOperationException::Create("Failed to register page: {0}", pageName);
        }
        isPageRegistered = true;
        for (const BasicString& language : languages)
        {
            moduleHandler.RegisterSupportedLanguage(language);
        }
    }

    void ResetModule(IWbmModuleHandler& moduleHandler) override
    {
        if (isRegistered)
        {
            moduleHandler.UnregisterDataProvider(dataProviderName);
            isRegistered = false;
        }
        if (isPageRegistered)
        {
            moduleHandler.UnregisterPage(pageName);
            isPageRegistered = false;
        }
        for (const BasicString& language : languages)
        {
            moduleHandler.UnregisterSupportedLanguage(language);
        }
    }

private:
    const std::shared_ptr<HelloHandler> handler = std::make_shared<HelloHandler>();
    const std::shared_ptr<HelloPage> page = std::make_shared<HelloPage>();
    bool isRegistered = false;
    bool isPageRegistered = false;
};

/// Lists what the library can create; lives until it is unloaded.
class HelloModuleLibrary final : public WbmModuleLibrary
{
public:
    explicit HelloModuleLibrary(AppDomain& appDomain)
    {
        Oxa::System::Commons::Diagnostics::Logging::LogManager::AssignAppDomain(appDomain);
        GetModuleFactory().AddFactoryFunction("Hello", [] { return std::make_unique<HelloModule>(); });
    }
};

} // namespace

extern "C" OXA_EXPORT WbmModuleLibrary& CreateWbmModuleLibrary(AppDomain& appDomain)
{
    static HelloModuleLibrary library(appDomain);
    return library;
}
