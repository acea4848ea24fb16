#include "Device/Items/ItemTable.hpp"

#include "Device/FakeClock.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/FileSource.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;

namespace
{

class ThrowingSource final : public IItemSource
{
public:
    ItemReading Read(const ReadPass&) override
    {
        throw std::runtime_error("the bus is stuck");
    }

    BasicString Describe() const override
    {
        return "a source that throws";
    }
};

} // namespace

TEST(ReadingItems, LogsEveryCauseOnce)
{
    const Support::LogRecorder log;
    const FakeMachine machine;
    FakeClock clock;
    auto file = std::make_shared<KeptFile>(machine.GetPath("/name"), KeptFile::Reopening::ByPath, clock.Get());
    ItemTable table;
    table.Add("Name", std::make_unique<FileSource>(std::move(file), FileSource::Options()));

    for (int round = 0; round < 3; ++round)
    {
        EXPECT_EQ(ToTypedText(table.Read("Name")), "NotSet");
        machine.Write("/name", "Box");
        clock.Advance(std::chrono::seconds(1));
        EXPECT_EQ(ToTypedText(table.Read("Name")), "String Box");
        std::filesystem::remove(machine.GetPath("/name"));
    }

    const auto entries = log.GetEntries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].message, "the item 'Name' has no value: cannot read '" + machine.GetPath("/name") +
                                      "': No such file or directory");
}

TEST(ReadingItems, DoesNotFillTheLogWithADevicesNonsense)
{
    const Support::LogRecorder log;

    class NonsenseSource final : public IItemSource
    {
    public:
        ItemReading Read(const ReadPass&) override
        {
            return ItemReading::Missing("nonsense\n" + std::to_string(++count));
        }

        BasicString Describe() const override
        {
            return "nonsense";
        }

    private:
        int count = 0;
    };

    ItemTable table;
    table.Add("Name", std::make_unique<NonsenseSource>());
    for (int round = 0; round < 100; ++round)
    {
        EXPECT_EQ(ToTypedText(table.Read("Name")), "NotSet");
    }
    EXPECT_LE(log.GetEntries().size(), 8U);
    EXPECT_EQ(log.GetEntries().front().message, "the item 'Name' has no value: nonsense\\x0a1");
}

TEST(ReadingItems, LetsNothingEscapeThatASourceThrows)
{
    const Support::LogRecorder log;
    ItemTable table;
    table.Add("Name", std::make_unique<ThrowingSource>());

    EXPECT_EQ(ToTypedText(table.Read("Name")), "NotSet");
    EXPECT_EQ(ToTypedText(table.Read("Nobody.Knows")), "NotSet");
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_EQ(log.GetEntries()[0].message, "the item 'Name' has no value: the bus is stuck");
}

TEST(FillingTheTable, RefusesAKeyThatIsTaken)
{
    ItemTable table;
    table.Add("Name", std::make_unique<ThrowingSource>());
    EXPECT_THROW(table.Add("Name", std::make_unique<ThrowingSource>()), Oxa::System::Commons::ArgumentException);
}

} // namespace Oxa::Tests::Device
