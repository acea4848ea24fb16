#include "Device/Items/ItemTable.hpp"

#include "Device/FakeSource.hpp"
#include "Device/ItemValueText.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

namespace Oxa::Tests::Device
{

using Oxa::Device::Linux::Items::ItemTable;

namespace
{

/// A table with one item, "Name".
class ReadingItems : public testing::Test
{
protected:
    ReadingItems()
    {
        table.Add("Name", sensor.MakeSource());
    }

    const Support::LogRecorder log;
    FakeSensor sensor;
    ItemTable table;
};

} // namespace

TEST_F(ReadingItems, LogsEveryCauseOnce)
{
    for (int round = 0; round < 3; ++round)
    {
        EXPECT_EQ(ToTypedText(table.Read("Name")), "NotSet");
        sensor.Give("Box");
        EXPECT_EQ(ToTypedText(table.Read("Name")), "String Box");
        sensor.Fail("not plugged in");
    }
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_EQ(log.GetEntries()[0].message, "the item 'Name' has no value: not plugged in");
}

TEST_F(ReadingItems, DoesNotFillTheLogWithADevicesNonsense)
{
    for (int round = 1; round <= 100; ++round)
    {
        sensor.Fail("nonsense\n" + std::to_string(round));
        EXPECT_EQ(ToTypedText(table.Read("Name")), "NotSet");
    }
    EXPECT_LE(log.GetEntries().size(), 8U);
    EXPECT_EQ(log.GetEntries().front().message, "the item 'Name' has no value: nonsense\\x0a1");
}

TEST_F(ReadingItems, LetsNothingEscapeThatASourceThrows)
{
    sensor.throws = true;
    EXPECT_EQ(ToTypedText(table.Read("Name")), "NotSet");
    EXPECT_EQ(ToTypedText(table.Read("No.Such.Item")), "NotSet");
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_EQ(log.GetEntries()[0].message, "the item 'Name' has no value: the sensor is broken");
}

TEST_F(ReadingItems, RefusesAKeyThatIsTaken)
{
    EXPECT_THROW(table.Add("Name", sensor.MakeSource()), Oxa::System::Commons::ArgumentException);
}

} // namespace Oxa::Tests::Device
