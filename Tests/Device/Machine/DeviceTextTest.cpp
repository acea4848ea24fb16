#include "Device/Machine/DeviceText.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace Oxa::Tests::Device
{

namespace DeviceText = Oxa::Device::Linux::Machine::DeviceText;
using namespace std::string_view_literals;

TEST(TrimmingDeviceText, EndsAtTheFirstNul)
{
    const std::pair<std::string_view, std::string_view> cases[] = {
        {" name \n", "name"}, {"name\0other\0"sv, "name"}, {"\0name"sv, ""}, {" \t\r\n", ""}, {"a  b", "a  b"}};
    for (const auto& [text, trimmed] : cases)
    {
        EXPECT_EQ(DeviceText::Trim(text), trimmed) << "text: '" << text << "'";
    }
}

TEST(ParsingDeviceNumbers, TakesTheWholeTextOrNothing)
{
    const std::pair<std::string_view, std::optional<uint8>> cases[] = {
        {"0", uint8(0)}, {"255", uint8(255)}, {"256", {}}, {"-1", {}}, {"+1", {}},
        {" 1", {}},      {"1 ", {}},          {"0x1", {}}, {"", {}}};
    for (const auto& [text, number] : cases)
    {
        EXPECT_EQ(DeviceText::ParseNumber<uint8>(text), number) << "text: '" << text << "'";
    }
}

} // namespace Oxa::Tests::Device
