#include "Device/Items/ItemHistories.hpp"

#include "Device/FakeClock.hpp"
#include "Device/FakeSource.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Device/Sources/SimulatedSource.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cmath>
#include <limits>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Interface::Services;
using namespace Oxa::Device::Linux;
using namespace std::chrono_literals;
using Items::ItemHistories;
using Oxa::System::Commons::ArgumentException;

namespace
{

/// "min/mean/max", or "-" for a gap; with blanks between.
BasicString ToText(const ItemHistory& history)
{
    BasicString text;
    for (const auto& [minimum, mean, maximum] : history.points)
    {
        text += text.empty() ? "" : " ";
        text += std::isnan(mean) ? "-" : fmt::format("{}/{}/{}", minimum, mean, maximum);
        EXPECT_EQ(std::isnan(minimum), std::isnan(mean));
        EXPECT_EQ(std::isnan(maximum), std::isnan(mean));
    }
    return text;
}

/// A device with one marked item, "A", at a time of day that the test sets.
class HistoryOfOneItem : public testing::Test
{
protected:
    static constexpr int64 noon = 1'795'262'400'000;

    void Make(std::unique_ptr<Items::IItemSource> source)
    {
        auto items = std::make_shared<Items::ItemTable>();
        items->Add("A", std::move(source), std::nullopt, {"V", "", true});
        items->Add("B", sensor.MakeSource());
        const Items::HistoryClocks clocks = {clock.Get(), [this]
                                             {
                                                 return now;
                                             }};
        histories = std::make_unique<ItemHistories>(std::move(items), clocks);
    }

    void Pass(std::chrono::milliseconds duration)
    {
        clock.Advance(duration);
        now += duration.count();
    }

    /// One sample for each number, 10 s apart; time passes after each.
    void Sample(std::initializer_list<double> numbers)
    {
        for (const double number : numbers)
        {
            sensor.Give(number);
            histories->Sample();
            Pass(10s);
        }
    }

    BasicString ReadBack(std::chrono::milliseconds duration, std::size_t points)
    {
        return ToText(histories->Read("A", now - duration.count(), now, points));
    }

    FakeClock clock;
    int64 now = noon;
    FakeSensor sensor;
    std::unique_ptr<ItemHistories> histories;
};

} // namespace

TEST_F(HistoryOfOneItem, GivesMinimumMeanAndMaximumOfEverySpan)
{
    Make(sensor.MakeSource());
    Sample({1, 2, 6, 4, -5, 7});

    const struct
    {
        std::chrono::seconds span;
        std::size_t points;
        const char* text;
        int64 start;
        int64 step;
    } cases[] = {
        {60s, 6, "1/1/1 2/2/2 6/6/6 4/4/4 -5/-5/-5 7/7/7", noon, 10'000},
        {60s, 1000, "1/1/1 2/2/2 6/6/6 4/4/4 -5/-5/-5 7/7/7", noon, 10'000},
        {60s, 3, "1/1.5/2 4/5/6 -5/1/7", noon, 20'000},
        {60s, 4, "1/1.5/2 4/5/6 -5/1/7", noon, 20'000},
        {60s, 2, "1/3/6 -5/2/7", noon, 30'000},
        {60s, 1, "-5/2.5/7", noon, 60'000},
        {50s, 2, "2/4/6 -5/1/7", noon + 10'000, 30'000},
        {80s, 4, "- 1/1.5/2 4/5/6 -5/1/7", noon - 20'000, 20'000},
        {15s, 9, "7/7/7", noon + 50'000, 10'000},
        {5s, 9, "", noon + 60'000, 10'000},
    };

    for (const auto& [span, points, text, start, step] : cases)
    {
        const auto history = histories->Read("A", now - std::chrono::milliseconds(span).count(), now, points);
        EXPECT_EQ(ToText(history), text) << span.count() << " s in " << points;
        EXPECT_EQ(history.start, start) << span.count() << " s in " << points;
        EXPECT_EQ(history.step, step) << span.count() << " s in " << points;
    }
}

TEST_F(HistoryOfOneItem, LeavesOutWhatItCannotHold)
{
    Make(sensor.MakeSource());
    Sample({1, 2});
    const auto least = std::numeric_limits<int64>::min();
    const auto most = std::numeric_limits<int64>::max();
    const auto all = histories->Read("A", least, most, 1000);
    EXPECT_EQ(all.start, now - int64(86'400'000));
    EXPECT_EQ(all.step, 90'000);
    EXPECT_EQ(all.points.size(), 960U);
    EXPECT_TRUE(ToText(all).ends_with("- 1/1.5/2"));
    EXPECT_EQ(histories->Read("A", least, least + 1, 1).points.size(), 0U);
    EXPECT_EQ(histories->Read("A", most - 1, most, 1).points.size(), 0U);
    EXPECT_EQ(histories->Read("A", now, now + 60'000, 6).points.size(), 0U);
}

TEST_F(HistoryOfOneItem, RefusesWhatMakesNoSense)
{
    Make(sensor.MakeSource());
    EXPECT_THROW((void)histories->Read("C", 0, 1, 1), ArgumentException);
    EXPECT_THROW((void)histories->Read("B", 0, 1, 1), ArgumentException) << "is not marked";
    EXPECT_THROW((void)histories->Read("A", 1, 1, 1), ArgumentException);
    EXPECT_THROW((void)histories->Read("A", 2, 1, 1), ArgumentException);
    EXPECT_THROW((void)histories->Read("A", 0, 1, 0), ArgumentException);
    EXPECT_THROW((void)histories->Read("A", 0, 1, 1001), ArgumentException);
}

TEST_F(HistoryOfOneItem, KeepsGapsAsGaps)
{
    Make(sensor.MakeSource());
    Sample({1, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e300, 5});
    EXPECT_EQ(ReadBack(50s, 5), "1/1/1 - - - 5/5/5");
    EXPECT_EQ(ReadBack(50s, 2), "1/1/1 5/5/5");
    sensor.Fail("unplugged");
    histories->Sample();
    Pass(10s);
    sensor.Give("hot");
    histories->Sample();
    Pass(10s);
    // The sampler stood still.
    Pass(20s);
    Sample({6});
    EXPECT_EQ(ReadBack(60s, 6), "5/5/5 - - - - 6/6/6");
}

TEST_F(HistoryOfOneItem, TakesOneSampleInAPeriodWheneverItComes)
{
    Make(sensor.MakeSource());
    for (int second = 0; second < 30; ++second)
    {
        sensor.Give(second);
        histories->Sample();
        Pass(1001ms);
    }
    EXPECT_EQ(sensor.readCount, 3U);
    EXPECT_EQ(ReadBack(30030ms, 4), "0/0/0 10/10/10 20/20/20") << "the sample of the present period is still to come";
    histories->Sample();
    EXPECT_EQ(ReadBack(30030ms, 4), "0/0/0 10/10/10 20/20/20 29/29/29");
}

TEST_F(HistoryOfOneItem, TakesNoMadeUpValueForOneOfTheSensor)
{
    std::vector<std::unique_ptr<Items::IItemSource>> sources;
    sources.push_back(sensor.MakeSource());
    sources.push_back(
        std::make_unique<Sources::SimulatedSource>(Sources::SimulatedSignal::MakeConstant(ItemValue(20.0), "20")));
    Make(std::make_unique<Sources::FallbackSource>(std::move(sources)));
    Sample({1, 2});
    sensor.Fail("unplugged");
    histories->Sample();
    Pass(10s);
    EXPECT_EQ(ReadBack(30s, 3), "1/1/1 2/2/2 -");

    Make(std::make_unique<Sources::SimulatedSource>(Sources::SimulatedSignal::MakeConstant(ItemValue(20.0), "20")));
    Sample({1});
    EXPECT_EQ(ReadBack(10s, 1), "20/20/20") << "of an item that is simulated anyway";
}

TEST_F(HistoryOfOneItem, MovesNoSampleWhenTheClockIsSet)
{
    Make(sensor.MakeSource());
    Sample({1, 2});
    for (const int64 jump : {int64(3'600'000), int64(-7'200'000), int64(-1'700'000'000'000), int64(1) << 45})
    {
        now += jump;
        EXPECT_EQ(ReadBack(20s, 2), "1/1/1 2/2/2") << jump;
        EXPECT_EQ(histories->Read("A", now - 20'000, now, 2).start, now - 20'000) << jump;
    }
    Sample({3});
    EXPECT_EQ(ReadBack(30s, 3), "1/1/1 2/2/2 3/3/3");
}

TEST_F(HistoryOfOneItem, HoldsTheLast24HoursInTheSameMemory)
{
    Make(sensor.MakeSource());
    const auto getUsedBytes = []
    {
        return mallinfo2().uordblks + mallinfo2().hblkhd;
    };
    const std::size_t before = getUsedBytes();
    // A whole number in a float, different in each of the 9000 periods of 25 hours.
    for (int number = 0; number < 9000; ++number)
    {
        Sample({double(number)});
    }
    const auto history = histories->Read("A", now - 86'400'000, now, 720);
    ASSERT_EQ(history.points.size(), 720U);
    EXPECT_EQ(history.points.front().minimum, 360);
    EXPECT_EQ(history.points.back().maximum, 8999);
    for (std::size_t index = 0; index < 720; ++index)
    {
        const float first = 360 + 12 * float(index);
        EXPECT_EQ(history.points[index].minimum, first);
        EXPECT_EQ(history.points[index].mean, first + 5.5F);
        EXPECT_EQ(history.points[index].maximum, first + 11);
    }
    EXPECT_LE(getUsedBytes(), before + 720 * sizeof(HistoryPoint) + 1024);
    EXPECT_EQ(ReadBack(25h, 1), "360/4679.5/8999");

    Pass(25h);
    Sample({1});
    EXPECT_EQ(ReadBack(24h, 1), "1/1/1") << "the sampler stood still for longer than the history is long";
}

TEST_F(HistoryOfOneItem, StartsEmptyInANewProcess)
{
    Make(sensor.MakeSource());
    Sample({1, 2});
    Make(sensor.MakeSource());
    EXPECT_EQ(ReadBack(20s, 2), "- -");
    Sample({3});
    EXPECT_EQ(ReadBack(30s, 3), "- - 3/3/3");
}

TEST(HistoriesOfManyItems, KeepTheirSamplesApart)
{
    FakeClock clock;
    auto items = std::make_shared<Items::ItemTable>();
    std::array<FakeSensor, ItemHistories::maximumItems> sensors;
    for (std::size_t number = 0; number < sensors.size(); ++number)
    {
        items->Add(fmt::format("{}", number), sensors.at(number).MakeSource(), std::nullopt, {"", "", true});
        sensors.at(number).Give(uint64(number));
    }
    ItemHistories histories(items, {clock.Get(), []
                                    {
                                        return int64(1'000'000'000);
                                    }});
    histories.Sample();
    clock.Advance(10s);
    for (std::size_t number = 0; number < sensors.size(); ++number)
    {
        EXPECT_EQ(ToText(histories.Read(fmt::format("{}", number), 0, 1'000'000'000, 1)),
                  fmt::format("{0}/{0}/{0}", number));
    }
}

} // namespace Oxa::Tests::Device
