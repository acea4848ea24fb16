#include "Di/Internal/DiControlHandler.hpp"

#include "Support/FakeDevice.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using Oxa::Device::Interface::Services::AccessErrorCode;
using Oxa::Services::Commons::Wbm::RequestParams;
using Oxa::Services::Commons::Wbm::RequestQuery;
using Oxa::Services::Commons::Wbm::WbmRequest;
using Oxa::Services::Modules::Wbm::Di::Internal::DiControlHandler;
using Oxa::System::Commons::Diagnostics::Logging::LogLevel;
using Oxa::System::Um::SecurityToken;

constexpr const char* yes = R"({"errorCode":"","resultKind":4,"payload":{"result":true}})";

class ControllingTheDevice : public testing::Test
{
protected:
    ControllingTheDevice()
    {
        handler.SubscribeServices();
    }

    BasicString Send(const BasicString& requestName)
    {
        const WbmRequest request(requestName, RequestParams(RequestQuery("force=1")), SecurityToken(1));
        return handler.HandleRequest(request).GetBody();
    }

    LogRecorder log;
    FakeDevice device;
    DiControlHandler handler;
};

TEST_F(ControllingTheDevice, RespondsTrueToEveryRestart)
{
    device.controlService->result = AccessErrorCode::Busy;
    EXPECT_EQ(Send("RestartController"), yes);
    EXPECT_EQ(device.controlService->restartCount, 1);
    EXPECT_TRUE(log.GetEntries().empty());
}

TEST_F(ControllingTheDevice, ReportsTheTextOfARefusedReset)
{
    EXPECT_EQ(Send("ResetControllerToFactoryDefault"), yes);
    EXPECT_EQ(device.controlService->resetKinds, std::vector<uint16>{1});
    EXPECT_TRUE(log.GetEntries().empty());

    // The numbers come from another process; each needs a text, the unknown ones too.
    const std::vector<BasicString> texts = {"not supported", "busy",          "access denied", "invalid argument",
                                            "timed out",     "not available", "device fault",  "unknown error 8"};
    std::vector<LogRecorder::Entry> entries;
    for (const BasicString& text : texts)
    {
        entries.push_back({LogLevel::Error, "Oxa::Services::Modules::Wbm::Di::Internal::DiControlHandler",
                           "Failed to reset the controller to factory defaults. Error: " + text});
        device.controlService->result = static_cast<AccessErrorCode>(entries.size());
        EXPECT_EQ(Send("ResetControllerToFactoryDefault"),
                  R"({"errorCode":")" + text + R"(","resultKind":4,"payload":{"result":false}})");
    }
    EXPECT_EQ(log.GetEntries(), entries);
}

TEST_F(ControllingTheDevice, PassesOnWhatTheDeviceThrows)
{
    device.controlService->isBroken = true;
    for (const char* const requestName : {"RestartController", "ResetControllerToFactoryDefault"})
    {
        EXPECT_THROW(Send(requestName), std::runtime_error) << requestName;
    }
    EXPECT_TRUE(log.GetEntries().empty());
}

TEST_F(ControllingTheDevice, ChecksPermissionAndServices)
{
    EXPECT_TRUE(handler.HasPermissions(SecurityToken(1)));
    EXPECT_FALSE(handler.HasPermissions(SecurityToken(2)));
    EXPECT_EQ(std::get<0>(device.authorizationService->questions.back()), "oxa.services.wbm/modules/Di/DeviceControl");
    EXPECT_TRUE(handler.IsAvailable());
    EXPECT_FALSE(DiControlHandler().IsAvailable());
}

} // namespace
