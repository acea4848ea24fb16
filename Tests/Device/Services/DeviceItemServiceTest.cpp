#include "Device/Services/DeviceItemService.hpp"

#include "Device/FakeClock.hpp"
#include "Device/FakeSource.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Device/Sources/SimulatedSource.hpp"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Interface::Services;
using namespace Oxa::Device::Linux;
using namespace std::chrono_literals;
using Items::ItemTable;
using Services::DeviceItemService;
using Sources::AbsentSource;
using Sources::ConstantSource;
using Sources::FallbackSource;
using Sources::SimulatedSignal;
using Sources::SimulatedSource;

namespace
{

std::unique_ptr<Items::IItemSource> MakeSimulated(int8 value)
{
    return std::make_unique<SimulatedSource>(SimulatedSignal::MakeConstant(ItemValue(value), "value"));
}

template <class... Sources>
std::unique_ptr<Items::IItemSource> MakeFirst(Sources... sources)
{
    std::vector<std::unique_ptr<Items::IItemSource>> all;
    (all.push_back(std::move(sources)), ...);
    return std::make_unique<FallbackSource>(std::move(all));
}

/// For instance "Int8 45, old 3000 ms, measured: unplugged".
BasicString ToText(const ItemState& state)
{
    constexpr std::array qualities = {"good", "old", "missing"};
    constexpr std::array origins = {"measured", "fixed", "simulated", "absent"};
    return fmt::format("{}, {} {} ms, {}{}{}", ToTypedText(state.value), qualities.at(std::size_t(state.quality)),
                       state.age.count(), origins.at(std::size_t(state.origin)), state.cause.empty() ? "" : ": ",
                       state.cause);
}

template <class T>
std::vector<BasicString> GetKeys(const ItemPage<T>& page)
{
    std::vector<BasicString> keys;
    for (const T& item : page.items)
    {
        keys.push_back(item.key);
    }
    return keys;
}

/// A device with one item, "A".
class OneItem : public testing::Test
{
protected:
    void Make(std::unique_ptr<Items::IItemSource> source,
              std::optional<System::Rsc::RscType> type = System::Rsc::RscType::Int8)
    {
        auto items = std::make_shared<ItemTable>();
        items->Add("A", std::move(source), type);
        service =
            std::make_unique<DeviceItemService>(items, std::make_shared<Items::ItemHistories>(items), clock.Get());
    }

    BasicString Read()
    {
        return ToText(service->ReadItems("", "", 1).items.at(0));
    }

    FakeClock clock;
    FakeSensor sensor;
    std::unique_ptr<DeviceItemService> service;
};

} // namespace

TEST_F(OneItem, IsGoodThenOldThenMissingThenGoodAgain)
{
    Make(sensor.MakeSource());
    EXPECT_EQ(Read(), "NotSet, missing 0 ms, measured: not plugged in");
    sensor.Give(int8(45));
    EXPECT_EQ(Read(), "Int8 45, good 0 ms, measured");
    clock.Advance(5s);
    EXPECT_EQ(Read(), "Int8 45, good 0 ms, measured");
    sensor.Fail("unplugged");
    EXPECT_EQ(Read(), "Int8 45, old 0 ms, measured: unplugged");
    clock.Advance(60s);
    EXPECT_EQ(Read(), "Int8 45, old 60000 ms, measured: unplugged");
    clock.Advance(1ms);
    EXPECT_EQ(Read(), "NotSet, missing 0 ms, measured: unplugged");
    sensor.Give(int8(46));
    EXPECT_EQ(Read(), "Int8 46, good 0 ms, measured");
}

TEST_F(OneItem, IsOldWhenItsSourceIsBrokenOrGivesWhatDoesNotFit)
{
    Make(sensor.MakeSource());
    sensor.Give(int8(45));
    EXPECT_EQ(Read(), "Int8 45, good 0 ms, measured");
    clock.Advance(1s);
    sensor.throws = true;
    EXPECT_EQ(Read(), "Int8 45, old 1000 ms, measured: the sensor is broken");
    sensor.throws = false;
    sensor.Give(int16(300));
    EXPECT_EQ(Read(), "Int8 45, old 1000 ms, measured: the number is out of the range of int8, sensor");
    sensor.Give(int16(30));
    EXPECT_EQ(Read(), "Int8 30, good 0 ms, measured");
}

TEST_F(OneItem, KeepsItsLastTypeWithoutOneOfItsOwn)
{
    Make(sensor.MakeSource(), std::nullopt);
    sensor.Give(int8(45));
    EXPECT_EQ(Read(), "Int8 45, good 0 ms, measured");
    sensor.Give("hot");
    EXPECT_EQ(Read(), "String hot, good 0 ms, measured");
    sensor.Fail("unplugged");
    EXPECT_EQ(Read(), "String hot, old 0 ms, measured: unplugged");
    EXPECT_EQ(service->ListItems("", "", 1).items.at(0).type, System::Rsc::RscType::NotSet);
}

TEST_F(OneItem, IsSimulatedOnlyAsLongAsItsSensorIsMissing)
{
    Make(MakeFirst(sensor.MakeSource(), MakeSimulated(20)));
    EXPECT_EQ(service->ListItems("", "", 1).items.at(0).origin, ItemOrigin::Measured);
    EXPECT_EQ(Read(), "Int8 20, good 0 ms, simulated");
    sensor.Give(int8(45));
    EXPECT_EQ(Read(), "Int8 45, good 0 ms, measured");
    sensor.Fail("unplugged");
    EXPECT_EQ(Read(), "Int8 20, good 0 ms, simulated");
}

TEST_F(OneItem, TellsWhereItsValueComesFrom)
{
    const auto absent = []
    {
        return std::make_unique<AbsentSource>("FPGA");
    };
    Make(std::make_unique<ConstantSource>(ItemValue(int8(7))));
    EXPECT_EQ(Read(), "Int8 7, good 0 ms, fixed");
    Make(std::make_unique<ConstantSource>(ItemValue("7")));
    EXPECT_EQ(Read(), "Int8 7, good 0 ms, fixed") << "converted";
    Make(absent());
    EXPECT_EQ(Read(), "NotSet, missing 0 ms, absent: this machine has no FPGA");
    Make(MakeFirst(absent(), absent()));
    EXPECT_EQ(Read(), "NotSet, missing 0 ms, absent: this machine has no FPGA; this machine has no FPGA");
    Make(MakeFirst(absent(), MakeSimulated(3)));
    EXPECT_EQ(Read(), "Int8 3, good 0 ms, simulated");
    EXPECT_EQ(service->ListItems("", "", 1).items.at(0).origin, ItemOrigin::Simulated);
    Make(MakeFirst(sensor.MakeSource(), absent()));
    EXPECT_EQ(Read(), "NotSet, missing 0 ms, measured: not plugged in; this machine has no FPGA");
}

TEST_F(OneItem, HasACauseOfOneLineThatFits)
{
    Make(sensor.MakeSource());
    sensor.Fail("cannot read '/\xFF\n'");
    EXPECT_EQ(service->ReadItems("", "", 1).items.at(0).cause, "cannot read '/\\xff\\x0a'");
    sensor.Fail(BasicString(5000, 'x'));
    EXPECT_EQ(service->ReadItems("", "", 1).items.at(0).cause, BasicString(IDeviceItemService::maximumTextBytes, 'x'));
}

TEST(ListingItems, GivesPagesInTheOrderOfTheKeys)
{
    auto items = std::make_shared<ItemTable>();
    for (const char* const key : {"B.2", "A", "B.10", "B", "\xC3\x84", "B.1", "C"})
    {
        items->Add(key, std::make_unique<ConstantSource>(ItemValue(key)));
    }
    DeviceItemService service(items, std::make_shared<Items::ItemHistories>(items));

    const struct
    {
        const char* prefix;
        const char* after;
        std::size_t count;
        std::vector<BasicString> keys;
        bool isCut;
    } cases[] = {
        {"", "", 100, {"A", "B", "B.1", "B.10", "B.2", "C", "\xC3\x84"}, false},
        {"", "", 7, {"A", "B", "B.1", "B.10", "B.2", "C", "\xC3\x84"}, false},
        {"", "", 3, {"A", "B", "B.1"}, true},
        {"", "B.1", 3, {"B.10", "B.2", "C"}, true},
        {"", "C", 3, {"\xC3\x84"}, false},
        {"", "\xFF", 3, {}, false},
        {"B.", "", 2, {"B.1", "B.10"}, true},
        {"B.", "B.10", 2, {"B.2"}, false},
        {"B.", "B.11", 2, {"B.2"}, false},
        {"B.", "A", 1, {"B.1"}, true},
        {"B.", "C", 1, {}, false},
        {"b", "", 1, {}, false},
        {"", "", 0, {}, true},
    };

    for (const auto& [prefix, after, count, keys, isCut] : cases)
    {
        const auto page = service.ListItems(prefix, after, count);
        EXPECT_EQ(GetKeys(page), keys) << prefix << " after " << after;
        EXPECT_EQ(page.isCut, isCut) << prefix << " after " << after;
        EXPECT_EQ(GetKeys(service.ReadItems(prefix, after, count)), keys) << prefix << " after " << after;
    }
}

} // namespace Oxa::Tests::Device
