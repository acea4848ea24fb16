#include "GuestBookServiceProxyFactory.hpp"
#include "IGuestBookService.hpp"
#include "Oxa/Services/Commons/Wbm/Json/JsonResponse.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Rsc/RscString.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"
#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

#include <memory>
#include <utility>
#include <vector>

namespace
{

using namespace GuestBook;
using namespace Oxa::Services::Commons::Wbm;
using namespace Oxa::Services::Commons::Wbm::Json;
using namespace Oxa::Services::Commons::Wbm::Modules;
using namespace Oxa::System::Commons::Json;
using Oxa::BasicString;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::ArgumentException;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::System::Rsc::IRscService;
using Oxa::System::Rsc::IRscServiceProxyFactory;
using Oxa::System::Rsc::RscString;
using Oxa::System::Rsc::ServiceManager;
using Oxa::System::Um::SecurityToken;
using Oxa::System::Um::Services::Internal::AuthorizationServiceProxyFactory;
using Oxa::System::Um::Services::Internal::IAuthorizationService;

const BasicString dataProviderName = "GuestBookDp";

/// The payload of a response: one member "entries".
class Entries final : public IJsonSerializable
{
public:
    explicit Entries(std::vector<BasicString> entries) : entries(std::move(entries)) {}

    /// Does nothing: responses are only written.
    void ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) override {}

    void WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/) override
    {
        writer.WriteSimpleArray("entries", entries);
    }

private:
    const std::vector<BasicString> entries;
};

WbmResponse Respond(const BasicString& errorCode, IJsonSerializable& payload, ResultKind kind)
{
    return WbmResponse(ResponseHeader(ContentType::Application, ContentSubtype::Json, CharsetType::Utf8),
                       JsonResponse(errorCode, payload, kind).ToJsonString());
}

/// Handles the requests of the data provider "GuestBookDp".
class GuestBookHandler final : public WbmRequestHandlerBase
{
public:
    GuestBookHandler()
    {
        RegisterHandlerDelegate("Sign", HandlerDelegate::Bind(*this, &GuestBookHandler::Sign));
        RegisterHandlerDelegate("GetEntries", HandlerDelegate::Bind(*this, &GuestBookHandler::GetEntries));
    }

    /// Null: not available, requests get 503. Requires: no request is in progress.
    void SetServices(std::shared_ptr<IGuestBookService> newService,
                     std::shared_ptr<IAuthorizationService> newAuthorization)
    {
        service = std::move(newService);
        authorization = std::move(newAuthorization);
    }

    [[nodiscard]] bool IsAvailable() const override
    {
        return service != nullptr && authorization != nullptr;
    }

    /// Signing changes the book: only for the roles Engineer and Admin.
    [[nodiscard]] bool HasPermissions(const SecurityToken& token) const override
    {
        const RscString<512> object("oxa.services.wbm/modules/GuestBook/Book");
        return authorization->IsAuthorized(object, Oxa::System::Um::executePermission, token.GetValue());
    }

private:
    /// Writes the query parameter "guest" into the book.
    WbmResponse Sign(const WbmRequest& request)
    {
        BasicString guest;
        request.GetRequestParams().GetQuery().TryGetParameterValue("guest", guest, false);
        BasicString errorCode;
        try
        {
            service->Sign(guest);
        }
        catch (const ArgumentException&)
        {
            errorCode = "InvalidInput";
        }
        catch (const InvalidOperationException&)
        {
            errorCode = "BookFull";
        }
        BooleanResult result(errorCode.empty());
        return Respond(errorCode, result, ResultKind::Boolean);
    }

    /// The payload is {"entries":[…]}.
    WbmResponse GetEntries(const WbmRequest& /*request*/)
    {
        Entries entries(service->ReadEntries());
        return Respond("", entries, ResultKind::Object);
    }

    std::shared_ptr<IGuestBookService> service;
    std::shared_ptr<IAuthorizationService> authorization;
};

/// Null when no process provides the service.
template <class TService>
std::shared_ptr<TService> FindService(IRscServiceProxyFactory& factory)
{
    const std::shared_ptr<IRscService> proxy(ServiceManager::GetService(factory.GetServiceProviderName(), factory));
    return std::dynamic_pointer_cast<TService>(proxy);
}

/// The module "GuestBook": one data provider that calls the service of the guest book.
class GuestBookModule final : public WbmModuleBase
{
public:
    void SetupModule(const ModuleInfo& /*moduleInfo*/, IWbmModuleHandler& moduleHandler) override
    {
        handler->SetServices(FindService<IGuestBookService>(GuestBookServiceProxyFactory::GetInstance()),
                             FindService<IAuthorizationService>(AuthorizationServiceProxyFactory::GetInstance()));
        if (!moduleHandler.RegisterDataProvider(Registration::DataProviderInfo(dataProviderName), handler))
        {
            throw InvalidOperationException::Create("Failed to register data provider: {0}", dataProviderName);
        }
        isRegistered = true;
    }

    void ResetModule(IWbmModuleHandler& moduleHandler) override
    {
        if (isRegistered)
        {
            moduleHandler.UnregisterDataProvider(dataProviderName);
            isRegistered = false;
        }
        handler->SetServices(nullptr, nullptr);
    }

private:
    const std::shared_ptr<GuestBookHandler> handler = std::make_shared<GuestBookHandler>();
    bool isRegistered = false;
};

/// Lists what the library can create; lives until it is unloaded.
class GuestBookModuleLibrary final : public WbmModuleLibrary
{
public:
    explicit GuestBookModuleLibrary(AppDomain& appDomain)
    {
        Oxa::System::Commons::Diagnostics::Logging::LogManager::AssignAppDomain(appDomain);
        GetModuleFactory().AddFactoryFunction("GuestBook", [] { return std::make_unique<GuestBookModule>(); });
    }
};

} // namespace

extern "C" OXA_EXPORT WbmModuleLibrary& CreateWbmModuleLibrary(AppDomain& appDomain)
{
    static GuestBookModuleLibrary library(appDomain);
    return library;
}
