#include "Device/Items/ItemConversion.hpp"

#include "Device/ItemValueText.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
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

} // namespace Oxa::Tests::Device
