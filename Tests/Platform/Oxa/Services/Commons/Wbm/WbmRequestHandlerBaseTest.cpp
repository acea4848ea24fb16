#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Commons::Wbm;
using namespace Oxa::Services::Commons::Wbm::Modules;
using Oxa::System::Um::SecurityToken;

struct EchoHandler final : WbmRequestHandlerBase
{
    EchoHandler()
    {
        RegisterHandlerDelegate("Echo", HandlerDelegate::Bind(*this, &EchoHandler::Echo));
    }

    WbmResponse Echo(const WbmRequest& request)
    {
        return {ResponseHeader(ContentType::Text, ContentSubtype::Plain, CharsetType::Utf8),
                request.GetRequestParams().GetBody()};
    }

    using WbmRequestHandlerBase::RegisterHandlerDelegate;
};

struct ClosedPage final : WbmPageHandlerBase
{
    bool IsAvailable() const override
    {
        return false;
    }
};

TEST(HandlingRequests, ComparesNamesExactly)
{
    EchoHandler handler;
    const auto send = [&handler](const BasicString& name)
    {
        return handler.HandleRequest(WbmRequest(name, RequestParams(RequestQuery(), "hello"), SecurityToken(1)));
    };
    EXPECT_EQ(send("Echo").GetBody(), "hello");
    EXPECT_FALSE(handler.HandlesRequest("echo"));
    EXPECT_THROW(static_cast<void>(send("echo")), System::Commons::NotSupportedException);
}

TEST(HandlingRequests, RefusesBadRegistrations)
{
    EchoHandler handler;
    const auto echo = WbmRequestHandlerBase::HandlerDelegate::Bind(handler, &EchoHandler::Echo);
    EXPECT_THROW(handler.RegisterHandlerDelegate("Echo", echo), System::Commons::ArgumentException);
    EXPECT_THROW(handler.RegisterHandlerDelegate("", echo), System::Commons::ArgumentException);
    EXPECT_THROW(handler.RegisterHandlerDelegate("Other", {}), System::Commons::ArgumentException);
}

TEST(ShowingPages, DependsOnTheCallerAndTheState)
{
    ClosedPage page;
    EXPECT_EQ(page.GetVisibilityAttribute(SecurityToken(1)), VisibilityAttribute::Disabled);
    EXPECT_EQ(page.GetVisibilityAttribute(SecurityToken()), VisibilityAttribute::Hidden);
}

} // namespace
