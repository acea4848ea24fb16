#include "Device/Items/ItemConversion.hpp"

#include "Device/ItemValueText.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Sources;
using System::Rsc::RscType;

TEST(ConvertingValues, NeverWrapsAroundNorCutsOff)
{
    struct Case
    {
        ItemValue value;
        RscType type;
        BasicString expected;
    };

    constexpr uint64 most = std::numeric_limits<uint64>::max();
    const Case cases[] = {
        {ItemValue(44.5), RscType::Int8, "Int8 45"},
        {ItemValue(-128.5), RscType::Int8, "NotSet"},
        {ItemValue(127.4), RscType::Int8, "Int8 127"},
        {ItemValue(uint64(256)), RscType::Uint8, "NotSet"},
        {ItemValue(int8(-1)), RscType::Uint64, "NotSet"},
        {ItemValue(most), RscType::String, "String 18446744073709551615"},
        {ItemValue("18446744073709551615"), RscType::Uint64, "Uint64 18446744073709551615"},
        {ItemValue("18446744073709551616"), RscType::Uint64, "NotSet"},
        {ItemValue(std::numeric_limits<double>::quiet_NaN()), RscType::Uint32, "NotSet"},
        {ItemValue("nan"), RscType::Real64, "NotSet"},
        {ItemValue("0x10"), RscType::Uint32, "NotSet"},
        {ItemValue(" 7\n"), RscType::Uint32, "Uint32 7"},
        {ItemValue("2"), RscType::Bool, "NotSet"},
        {ItemValue("true"), RscType::Bool, "Bool true"},
        {ItemValue(true), RscType::String, "String true"},
        {ItemValue(1e300), RscType::Real32, "NotSet"},
    };
    for (const auto& [value, type, expected] : cases)
    {
        EXPECT_EQ(ToTypedText(ItemConversion::Convert(value, type).value), expected)
            << FormatItem("value", {value, {}}, "");
    }
}

TEST(ConvertingValues, LogsOncePerItemWhatDoesNotFit)
{
    const Support::LogRecorder log;
    ItemTable table;
    table.Add("Load", std::make_unique<ConstantSource>(ItemValue(uint64(300))), RscType::Uint8);
    for (int round = 0; round < 3; ++round)
    {
        EXPECT_EQ(ToTypedText(table.Read("Load")), "NotSet");
    }
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_EQ(log.GetEntries()[0].message,
              "the item 'Load' has no value: the number is out of the range of uint8, fixed value");
}

} // namespace Oxa::Tests::Device
