#include "Di/Internal/DiWbmHandlerBase.hpp"

#include "Di/Internal/ServiceSubscription.hpp"
#include "Support/FakeDevice.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Modules::Wbm::Di::Internal;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Rsc;
using namespace Oxa::Tests::Support;
using Oxa::Device::Interface::Services::IDeviceInfoService;

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

TEST(SubscribingServices, StopsAtTheFirstOneThatCannotBeHad)
{
    FakeDevice device;
    ServiceManager::UnregisterService(*FakeDevice::GetFactories()[1]);
    OpenHandler handler;
    EXPECT_FALSE(handler.SubscribeBaseServices());
    EXPECT_TRUE(handler.deviceInfoService);
    EXPECT_FALSE(handler.deviceStatusService || handler.deviceControlService || handler.authorizationService ||
                 handler.rtcService);
    EXPECT_FALSE(handler.BaseServicesAvailable());
}

TEST(SubscribingServices, NeedsAllFiveToBeAvailableAndKeepsThemWhenALaterSubscriptionFails)
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

    ServiceManager::UnregisterService(*FakeDevice::GetFactories()[0]);
    EXPECT_FALSE(handler.SubscribeBaseServices());
    EXPECT_TRUE(handler.BaseServicesAvailable());
}

TEST(SubscribingServices, RefusesAServiceWithoutProviderOrOfAnotherInterface)
{
    FakeProxyFactory factory;
    std::shared_ptr<IDeviceInfoService> member;
    ServiceManager::RegisterService(factory, std::make_shared<IRscService>());
    try
    {
        static_cast<void>(TryGetService(factory, member));
        FAIL() << "the proxy is of another interface";
    }
    catch (const InvalidCastException& exception)
    {
        EXPECT_STREQ(exception.what(), "The service does not implement service interface 'Test::IService'.");
    }
    ServiceManager::UnregisterService(factory);
    EXPECT_FALSE(TryGetService(factory, member));

    factory.providerName = "";
    EXPECT_THROW(static_cast<void>(TryGetService(factory, member)), ArgumentException);
}

TEST(CheckingPermissions, AsksForExecutionOfTheModulesObject)
{
    FakeDevice device;
    device.authorizationService->grantedToken = 77;
    OpenHandler handler;
    handler.SubscribeBaseServices();
    EXPECT_TRUE(handler.HasPermissionOnObject(System::Um::SecurityToken(77), "DeviceControl"));
    EXPECT_FALSE(handler.HasPermissionOnObject(System::Um::SecurityToken(78), "DeviceControl"));
    EXPECT_EQ(device.authorizationService->questions.front(),
              std::make_tuple(BasicString("oxa.services.wbm/modules/Di/DeviceControl"), 0x1000U, 77U));

    EXPECT_TRUE(handler.HasPermissionOnObject(System::Um::SecurityToken(77), BasicString(483, 'x')));
    EXPECT_THROW(static_cast<void>(handler.HasPermissionOnObject(System::Um::SecurityToken(77), BasicString(484, 'x'))),
                 ArgumentException);
}

} // namespace
