#include "Oxa/System/Rsc/ServiceManager.hpp"

#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

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
    void Register(AccessErrorCode result, const char* bootId = "boot")
    {
        registration.reset();
        registration.emplace(
            bootId, "build",
            std::vector<RscRegistration::Service>{{factory, std::make_shared<ControlService>(result)}});
    }

    [[nodiscard]] uint64 GetEpoch() const
    {
        return ServiceManager::GetEpoch(factory.GetServiceProviderName());
    }

    std::unique_ptr<IDeviceControlService> Find()
    {
        return std::unique_ptr<IDeviceControlService>(dynamic_cast<IDeviceControlService*>(
            ServiceManager::GetService(factory.GetServiceProviderName(), factory)));
    }

    DeviceControlServiceProxyFactory& factory = DeviceControlServiceProxyFactory::GetInstance();
    std::optional<RscRegistration> registration;
};

TEST_F(FindingServices, GivesAProxyOfTheCallersOwnWhileTheServiceIsProvided)
{
    EXPECT_EQ(Find(), nullptr);
    Register(AccessErrorCode::Busy);
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
    Register(AccessErrorCode::Busy);
    const auto proxy = Find();
    registration.reset();
    EXPECT_EQ(Find(), nullptr);
    try
    {
        proxy->Restart();
        FAIL() << "the service is not provided";
    }
    catch (const RscServiceException& exception)
    {
        EXPECT_EQ(exception.GetFault(), RscFault::NotAvailable);
        EXPECT_NE(BasicString(exception.what()).find("IDeviceControlService"), BasicString::npos);
    }
    Register(AccessErrorCode::TimedOut);
    EXPECT_EQ(proxy->Restart(), AccessErrorCode::TimedOut);
}

TEST_F(FindingServices, LetsCallsFinishWhileTheProviderComesAndGoes)
{
    Register(AccessErrorCode::None);
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
        registration.reset();
        Register(AccessErrorCode::None);
    }
    isOver = true;
}

TEST_F(FindingServices, HasOneEpochForEachRun)
{
    EXPECT_EQ(GetEpoch(), 0U);
    Register(AccessErrorCode::None);
    const uint64 first = GetEpoch();
    EXPECT_NE(first, 0U);
    EXPECT_EQ(ServiceManager::GetRun(factory.GetServiceProviderName()).bootId, "boot");
    EXPECT_THROW(RscRegistration("", "", {{factory, std::make_shared<ControlService>(AccessErrorCode::None)}}),
                 System::Commons::InvalidOperationException);
    EXPECT_THROW(RscRegistration("", "", {}), System::Commons::ArgumentException);
    EXPECT_EQ(GetEpoch(), first);
    registration.reset();
    EXPECT_EQ(GetEpoch(), 0U);
    Register(AccessErrorCode::None);
    EXPECT_EQ(GetEpoch(), first);
    Register(AccessErrorCode::None, "another boot");
    const uint64 second = GetEpoch();
    EXPECT_GT(second, first);
    Register(AccessErrorCode::None, "");
    Register(AccessErrorCode::None, "");
    EXPECT_GT(GetEpoch(), second + 1);
}

} // namespace
