#include "Oxa/System/Rsc/ServiceManager.hpp"

#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace
{

using namespace Oxa;
using namespace Oxa::Device::Interface::Services;
using namespace Oxa::System::Rsc;

struct ControlService final : IDeviceControlService
{
    explicit ControlService(AccessErrorCode result) : result(result) {}

    AccessErrorCode Restart() override
    {
        return result;
    }

    AccessErrorCode FactoryReset(uint16 /*resetKind*/) override
    {
        return result;
    }

    AccessErrorCode result;
};

class FindingServices : public testing::Test
{
protected:
    ~FindingServices() override
    {
        ServiceManager::UnregisterService(factory);
    }

    std::unique_ptr<IDeviceControlService> Find()
    {
        return std::unique_ptr<IDeviceControlService>(dynamic_cast<IDeviceControlService*>(
            ServiceManager::GetService(factory.GetServiceProviderName(), factory)));
    }

    DeviceControlServiceProxyFactory& factory = DeviceControlServiceProxyFactory::GetInstance();
};

TEST_F(FindingServices, GivesAProxyOfTheCallersOwnWhileTheServiceIsProvided)
{
    EXPECT_EQ(Find(), nullptr);
    ServiceManager::RegisterService(factory, std::make_shared<ControlService>(AccessErrorCode::Busy));
    EXPECT_EQ(ServiceManager::GetService("another provider", factory), nullptr);
    EXPECT_EQ(
        ServiceManager::GetService(factory.GetServiceProviderName(), DeviceStatusServiceProxyFactory::GetInstance()),
        nullptr);
    const auto first = Find();
    const auto second = Find();
    EXPECT_NE(first, second);
    EXPECT_EQ(first->Restart(), AccessErrorCode::Busy);
}

TEST_F(FindingServices, KeepsProxiesThatWorkAgainWhenTheProviderComesBack)
{
    ServiceManager::RegisterService(factory, std::make_shared<ControlService>(AccessErrorCode::Busy));
    const auto proxy = Find();
    ServiceManager::UnregisterService(factory);
    EXPECT_EQ(Find(), nullptr);
    try
    {
        proxy->Restart();
        FAIL() << "nobody provides the service";
    }
    catch (const RscServiceException& exception)
    {
        EXPECT_EQ(exception.GetFault(), RscFault::NotAvailable);
        EXPECT_NE(BasicString(exception.what()).find("IDeviceControlService"), BasicString::npos);
    }
    ServiceManager::RegisterService(factory, std::make_shared<ControlService>(AccessErrorCode::TimedOut));
    EXPECT_EQ(proxy->Restart(), AccessErrorCode::TimedOut);
}

TEST_F(FindingServices, LetsCallsFinishWhileTheProviderComesAndGoes)
{
    ServiceManager::RegisterService(factory, std::make_shared<ControlService>(AccessErrorCode::None));
    const auto proxy = Find();
    std::atomic<bool> isOver = false;
    std::jthread caller(
        [&proxy, &isOver]
        {
            while (!isOver)
            {
                try
                {
                    EXPECT_EQ(proxy->Restart(), AccessErrorCode::None);
                }
                catch (const RscServiceException&)
                {
                }
            }
        });
    for (int round = 0; round < 200; ++round)
    {
        ServiceManager::UnregisterService(factory);
        ServiceManager::RegisterService(factory, std::make_shared<ControlService>(AccessErrorCode::None));
    }
    isOver = true;
}

} // namespace
