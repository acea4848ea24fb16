#include "Di/Internal/Data/DeviceHealth.hpp"

#include "Di/Internal/Data/SectionSupport.hpp"
#include "Support/FakeDevice.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using Oxa::Tests::Di::WriteToJson;

TEST(ReadingHealth, TakesSignedByteTemperaturesOnlyAndPassesExceptionsOn)
{
    FakeDevice device;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService> service = device.statusService;
    Services::Modules::Wbm::Di::Internal::Data::DeviceHealth section("Health", service);
    EXPECT_EQ(WriteToJson(section), R"({"Health":{"boardTemperature":0}})");

    device.SetStatus("Status.Board.Temperature.Centigrade", int8{-40});
    EXPECT_TRUE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section), R"({"Health":{"boardTemperature":-40}})");

    device.status.isBroken = true;
    EXPECT_THROW(static_cast<void>(section.UpdateData()), std::runtime_error);
    EXPECT_EQ(WriteToJson(section), R"({"Health":{"boardTemperature":-40}})");

    device.status.isBroken = false;
    device.SetStatus("Status.Board.Temperature.Centigrade", int16{41});
    EXPECT_FALSE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section), R"({"Health":{"boardTemperature":-128}})");
}

} // namespace
