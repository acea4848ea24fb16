#include "Di/Internal/Data/GeneralData.hpp"

#include "Di/Internal/Data/SectionSupport.hpp"
#include "Di/Internal/Settings/DiSettings.hpp"
#include "Support/FakeDevice.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Modules::Wbm::Di::Internal;
using namespace Oxa::Tests::Support;
using Oxa::Device::Interface::Services::IDeviceInfoService;
using Oxa::System::Commons::Diagnostics::Logging::LogLevel;
using Oxa::Tests::Di::WriteToJson;

class ReadingGeneralData : public testing::Test
{
protected:
    static constexpr const char* untouched =
        R"({"GeneralData":{"articleName":"N/A","orderNumber":"N/A","serialNumber":"N/A","fullFirmwareVersion":"N/A",)"
        R"("hardwareVersion":"N/A","fpgaVersion":"N/A","splcSupported":false,"splcFirmwareVersion":"N/A",)"
        R"("splcFpgaVersion":"N/A"}})";

    LogRecorder log;
    FakeDevice device;
    std::shared_ptr<IDeviceInfoService> service = device.infoService;
    Settings::DiSettings settings;
    Data::GeneralData section{"GeneralData", service, settings};
};

TEST_F(ReadingGeneralData, ReadsTheIdentityOnceAndTheSafetyPartEveryTime)
{
    section.Setup();
    device.SetInfo("General.Hardware.Version", uint16{3});
    device.SetInfo("General.Fpga.Version", int8{3});
    section.Setup();
    device.SetInfo("General.SerialNumber", std::string_view("changed"));
    EXPECT_TRUE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section),
              R"({"GeneralData":{"articleName":"Controller 4","orderNumber":"1051328","serialNumber":"1357924680",)"
              R"("fullFirmwareVersion":"2024.0.5 LTS","hardwareVersion":"3","fpgaVersion":"N/A","splcSupported":false,)"
              R"("splcFirmwareVersion":"1.2.3","splcFpgaVersion":"7"}})")
        << "the versions of the safety part stand there also where it is not supported";
    settings.splcSupported = true;
    EXPECT_NE(WriteToJson(section).find(R"("splcSupported":true)"), BasicString::npos);

    device.info.values.erase("General.SPNS.Firmware.Version");
    EXPECT_TRUE(section.UpdateData());
    EXPECT_NE(WriteToJson(section).find(R"("splcFirmwareVersion":"N/A")"), BasicString::npos);
    const auto& keys = device.info.GetReadKeys();
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "General.SerialNumber"), 2) << "once for each set-up";
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "General.SPNS.Fpga.Version"), 2);
}

TEST_F(ReadingGeneralData, KeepsItsTextsWhenTheNumberOfResultsIsWrong)
{
    BasicString texts = untouched;
    for (const int extraResults : {-1, 1})
    {
        device.info.extraResults = extraResults;
        section.Setup();
        EXPECT_EQ(WriteToJson(section), texts);
        EXPECT_EQ(log.GetEntries().back(),
                  (LogRecorder::Entry{LogLevel::Warning, "Oxa::Services::Modules::Wbm::Di::Internal::Data::GeneralData",
                                      "Failed to get device general data. Size missmatch error. Expected: 6, Result: " +
                                          std::to_string(6 + extraResults)}));
        device.info.extraResults = 0;
        section.Setup();
        texts = WriteToJson(section);
        EXPECT_NE(texts, untouched);
    }
    EXPECT_EQ(log.GetEntries().size(), 2U);
}

TEST_F(ReadingGeneralData, ReadsNothingWithoutTheService)
{
    service.reset();
    section.Setup();
    EXPECT_EQ(WriteToJson(section), untouched);
    EXPECT_TRUE(log.GetEntries().empty());
}

TEST_F(ReadingGeneralData, PassesOnWhatTheServiceThrows)
{
    device.info.isBroken = true;
    EXPECT_THROW(section.Setup(), std::runtime_error);
    EXPECT_THROW(static_cast<void>(section.UpdateData()), std::runtime_error);
}

} // namespace
