#include "Di/Internal/DiWbmHandlerBase.hpp"

#include "Support/FakeDevice.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Modules::Wbm::Di::Internal;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Rsc;
using namespace Oxa::Tests::Support;
using Oxa::Device::Interface::Services::IDeviceInfoService;
using testing::ThrowsMessage;

struct OpenHandler final : DiWbmHandlerBase
{
    using DiWbmHandlerBase::authorizationService;
    using DiWbmHandlerBase::BaseServicesAvailable;
    using DiWbmHandlerBase::deviceControlService;
    using DiWbmHandlerBase::deviceInfoService;
    using DiWbmHandlerBase::deviceStatusService;
    using DiWbmHandlerBase::HasPermissionOnObject;
    using DiWbmHandlerBase::rtcService;
    using DiWbmHandlerBase::SubscribeBaseServices;

    /// In the order of subscription.
    [[nodiscard]] std::vector<std::shared_ptr<void>> GetMembers() const
    {
        return {deviceInfoService, deviceStatusService, deviceControlService, authorizationService, rtcService};
    }
};

/// Makes an object that is of no service interface, and keeps it, since its caller may not delete it.
struct FakeProxyFactory final : IRscServiceProxyFactory
{
    const char* GetServiceInterfaceName() const override
    {
        return "Test::IService";
    }

    const char* GetServiceProviderName() const override
    {
        return providerName;
    }

    IRscService* CreateProxy(std::shared_ptr<RscServiceSlot> /*slot*/) override
    {
        return &object;
    }

    const char* providerName = "Test";
    IRscService object;
};

TEST(SubscribingServices, StopsAtTheFirstOneThatCannotBeHadAndKeepsTheRest)
{
    for (std::size_t failing = 0; failing < FakeDevice::GetFactories().size(); ++failing)
    {
        FakeDevice device;
        device.Provide(FakeDevice::GetFactories()[failing]);
        OpenHandler handler;
        EXPECT_FALSE(handler.SubscribeBaseServices());
        EXPECT_FALSE(handler.BaseServicesAvailable());
        const auto first = handler.GetMembers();
        device.Provide();
        EXPECT_TRUE(handler.SubscribeBaseServices());
        const auto complete = handler.GetMembers();
        device.Provide(FakeDevice::GetFactories()[failing]);
        EXPECT_FALSE(handler.SubscribeBaseServices());
        for (std::size_t index = 0; index < first.size(); ++index)
        {
            EXPECT_EQ(first[index] != nullptr, index < failing) << failing << " " << index;
            EXPECT_EQ(handler.GetMembers()[index] == complete[index], index >= failing) << failing << " " << index;
        }
        EXPECT_TRUE(handler.BaseServicesAvailable());
    }
}

TEST(SubscribingServices, NeedsAllFiveToBeAvailable)
{
    FakeDevice device;
    OpenHandler handler;
    EXPECT_TRUE(handler.SubscribeBaseServices());
    EXPECT_TRUE(handler.BaseServicesAvailable());
    const auto expectNeeded = [&handler](auto& member)
    {
        const auto kept = std::exchange(member, nullptr);
        EXPECT_FALSE(handler.BaseServicesAvailable());
        member = kept;
    };
    expectNeeded(handler.deviceInfoService);
    expectNeeded(handler.deviceStatusService);
    expectNeeded(handler.deviceControlService);
    expectNeeded(handler.authorizationService);
    expectNeeded(handler.rtcService);
}

TEST(SubscribingServices, RefusesAServiceWithoutProviderOrOfAnotherInterface)
{
    FakeProxyFactory factory;
    std::shared_ptr<IDeviceInfoService> member;
    const auto tryGet = [&factory, &member]
    {
        return TryGetService(factory, member);
    };
    {
        const RscRegistration registration("", "", {{factory, std::make_shared<IRscService>()}});
        EXPECT_THAT(tryGet, ThrowsMessage<InvalidCastException>(
                                "The service does not implement service interface 'Test::IService'."));
    }
    EXPECT_FALSE(tryGet());

    factory.providerName = "";
    EXPECT_THAT(tryGet, ThrowsMessage<ArgumentException>("The argument 'TService' with the value 'Test::IService' is "
                                                         "not valid: Service does not specify a service provider"));
}

TEST(CheckingPermissions, AsksForExecutionOfTheModulesObject)
{
    FakeDevice device;
    device.authorizationService->grantedToken = 77;
    OpenHandler handler;
    handler.SubscribeBaseServices();
    const System::Um::SecurityToken token(77);
    EXPECT_TRUE(handler.HasPermissionOnObject(token, "DeviceControl"));
    EXPECT_FALSE(handler.HasPermissionOnObject(System::Um::SecurityToken(78), "DeviceControl"));
    EXPECT_EQ(device.authorizationService->questions.front(),
              std::make_tuple(BasicString("oxa.services.wbm/modules/Di/DeviceControl"), 0x1000U, 77U));

    EXPECT_TRUE(handler.HasPermissionOnObject(token, BasicString(483, 'x')));
    EXPECT_THAT([&] { return handler.HasPermissionOnObject(token, BasicString(484, 'x')); },
                ThrowsMessage<ArgumentException>("The argument 'arg' with the value 'oxa.services.wbm/modules/Di/" +
                                                 BasicString(484, 'x') + "' is not valid: Input string is too long"));
}

} // namespace
