#include "EndToEnd/Fakes/FakeHandlers.hpp"

#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"
#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace Oxa::Tests::EndToEnd
{

using namespace Services::Commons::Wbm;
using System::Um::Services::Internal::AuthorizationServiceProxyFactory;
using System::Um::Services::Internal::IAuthorizationService;

namespace
{

WbmResponse MakeText(BasicString text)
{
    return {ResponseHeader(ContentType::Text, ContentSubtype::Plain, CharsetType::Utf8), std::move(text)};
}

} // namespace

FakeHandler::FakeHandler()
{
    RegisterHandlerDelegate("Echo", HandlerDelegate::Bind(*this, &FakeHandler::Echo));
    RegisterHandlerDelegate("Reply", HandlerDelegate::Bind(*this, &FakeHandler::Reply));
    RegisterHandlerDelegate("Hang", HandlerDelegate::Bind(*this, &FakeHandler::Hang));
    RegisterHandlerDelegate("Fill", HandlerDelegate::Bind(*this, &FakeHandler::Fill));
    RegisterHandlerDelegate("Crash", HandlerDelegate::Bind(*this, &FakeHandler::Crash));
    RegisterHandlerDelegate("Throw", HandlerDelegate::Bind(*this, &FakeHandler::Throw));
    RegisterHandlerDelegate("ThrowPrivately", HandlerDelegate::Bind(*this, &FakeHandler::ThrowPrivately));
    RegisterHandlerDelegate("LoseService", HandlerDelegate::Bind(*this, &FakeHandler::LoseService));
}

bool FakeHandler::IsAvailable() const
{
    return true;
}

bool FakeHandler::HasPermissions(const System::Um::SecurityToken& token) const
{
    return WbmRequestHandlerBase::HasPermissions(token);
}

WbmResponse FakeHandler::Echo(const WbmRequest& request) const
{
    const RequestParams& params = request.GetRequestParams();
    return MakeText(params.GetQuery().GetQueryString(false) + '|' + params.GetBody());
}

WbmResponse FakeHandler::Reply(const WbmRequest& request) const
{
    return MakeText(request.GetRequestParams().GetBody());
}

WbmResponse FakeHandler::Hang(const WbmRequest& request) const
{
    const BasicString path = request.GetRequestParams().GetQuery().GetQueryString(true);
    const int watch = inotify_init1(IN_CLOEXEC);
    std::ofstream(path) << "hanging";
    inotify_add_watch(watch, path.c_str(), IN_DELETE_SELF | IN_ATTRIB);
    while (std::filesystem::exists(path))
    {
        pollfd polled{watch, POLLIN, 0};
        poll(&polled, 1, -1);
    }
    close(watch);
    return MakeText("went on");
}

WbmResponse FakeHandler::Fill(const WbmRequest& request) const
{
    return MakeText(BasicString(std::stoul(request.GetRequestParams().GetQuery().GetQueryString(true)), 'x'));
}

WbmResponse FakeHandler::Crash(const WbmRequest& /*request*/) const
{
    std::abort();
}

WbmResponse FakeHandler::Throw(const WbmRequest& /*request*/) const
{
    throw std::runtime_error("the secret cause");
}

WbmResponse FakeHandler::ThrowPrivately(const WbmRequest& /*request*/) const
{
    throw PrivateFault();
}

WbmResponse FakeHandler::LoseService(const WbmRequest& /*request*/) const
{
    throw System::Rsc::RscServiceException::Create(System::Rsc::RscFault::NotAvailable, "the service is away");
}

bool FakeControlHandler::HasPermissions(const System::Um::SecurityToken& token) const
{
    auto& factory = AuthorizationServiceProxyFactory::GetInstance();
    const std::unique_ptr<System::Rsc::IRscService> service(
        System::Rsc::ServiceManager::GetService(factory.GetServiceProviderName(), factory));
    return dynamic_cast<IAuthorizationService&>(*service).IsAuthorized(
        System::Rsc::RscString<512>("oxa.services.wbm/modules/Fake/Control"), 0x1000, token.GetValue());
}

} // namespace Oxa::Tests::EndToEnd
