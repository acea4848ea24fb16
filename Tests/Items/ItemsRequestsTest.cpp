#include "Items/LoadedModule.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Support/LogRecorder.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Items;
using namespace std::chrono_literals;
using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonTokenType;
using System::Rsc::RscServiceException;
using testing::HasSubstr;
using Tests::Support::LogRecorder;

BasicString Data(const BasicString& payload)
{
    return R"({"errorCode":"","resultKind":1,"payload":)" + payload + "}";
}

BasicString Error(const BasicString& code)
{
    return R"({"errorCode":")" + code + R"(","resultKind":4,"payload":{"result":false}})";
}

/// The keys in a response to GetItems, each followed by a blank. A response that is no JSON ends the test.
BasicString ListKeys(const BasicString& body)
{
    JsonReader reader(body, {.maximumBytes = 1024 * 1024});
    BasicString keys;
    for (auto token = reader.Read(); token != JsonTokenType::End; token = reader.Read())
    {
        if (token == JsonTokenType::PropertyName && reader.GetText() == "key")
        {
            reader.Read();
            keys += BasicString(reader.GetText()) + " ";
        }
    }
    return keys;
}

bool IsCut(const BasicString& body)
{
    return body.ends_with(R"("isCut":true}})");
}

class RequestingItems : public LoadedModule
{
protected:
    RequestingItems()
    {
        Offer();
        SetUpModule();
    }

    /// The member "value" of an item with this value, and the one before it.
    BasicString WriteOne(const ItemValue& value)
    {
        service->items.clear();
        service->Add("A", value).description.type = RscType::NotSet;
        const BasicString body = Send("GetItems");
        const std::size_t begin = body.find("\"value\":") + 8;
        return body.substr(begin, body.find(",\"quality") - begin);
    }
};

TEST_F(RequestingItems, WritesEachQualityAndOrigin)
{
    auto& measured = service->Add("A.Volts", ItemValue(23.5F), "V");
    measured.description.description = "Supply of the board";
    measured.description.hasHistory = true;
    auto& old = service->Add("B.Centigrade", ItemValue(int8{-5}), "°C");
    old.description.origin = ItemOrigin::Measured;
    old.state.origin = ItemOrigin::Simulated;
    old.state.quality = ItemQuality::Old;
    old.state.age = 12'345ms;
    old.state.cause = "cannot read '/sys/x': Input/output error";
    auto& missing = service->Add("C.Fan", ItemValue());
    missing.description.type = RscType::Uint16;
    missing.state.quality = ItemQuality::Missing;
    missing.state.origin = ItemOrigin::Absent;
    missing.state.cause = "the device has no fan";
    service->Add("D.Name", ItemValue("x")).state.origin = ItemOrigin::Fixed;
    EXPECT_EQ(
        Send("GetItems"),
        Data(R"({"items":[{"key":"A.Volts","unit":"V","description":"Supply of the board","history":true,)"
             R"("type":"real32","origin":"measured","value":23.5,"quality":"good","ageMilliseconds":0,"cause":""},)"
             R"({"key":"B.Centigrade","unit":"°C","description":"","history":false,)"
             R"("type":"int8","origin":"simulated","value":-5,"quality":"old","ageMilliseconds":12345,)"
             R"("cause":"cannot read '/sys/x': Input/output error"},)"
             R"({"key":"C.Fan","unit":"","description":"","history":false,)"
             R"("type":"uint16","origin":"absent","value":null,"quality":"missing","ageMilliseconds":0,)"
             R"("cause":"the device has no fan"},)"
             R"({"key":"D.Name","unit":"","description":"","history":false,)"
             R"("type":"string","origin":"fixed","value":"x","quality":"good","ageMilliseconds":0,"cause":""}],)"
             R"("isCut":false})"));
}

TEST_F(RequestingItems, WritesEveryValueAsValidJson)
{
    using namespace std::string_view_literals;
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    ItemValue odd;
    odd.SetType(RscType::Time32);
    const BasicString longText(511, 'x');
    const std::pair<ItemValue, BasicString> cases[] = {
        {ItemValue(true), "true"},
        {ItemValue(int8{-128}), "-128"},
        {ItemValue(uint8{200}), "200"},
        {ItemValue(int16{-300}), "-300"},
        {ItemValue(uint16{65'535}), "65535"},
        {ItemValue(int32{-70'000}), "-70000"},
        {ItemValue(uint32{4'294'967'295}), "4294967295"},
        {ItemValue(std::numeric_limits<int64>::min()), "-9223372036854775808"},
        {ItemValue(std::numeric_limits<uint64>::max()), "18446744073709551615"},
        {ItemValue(0.1F), "0.1"},
        {ItemValue(0.1), "0.1"},
        {ItemValue(nan), "null"},
        {ItemValue(-infinity), "null"},
        {ItemValue(static_cast<float>(infinity)), "null"},
        {ItemValue("a\"b\\c\n\x01\x7F</script>"), "\"a\\\"b\\\\c\\n\\u0001\x7F</script>\""},
        {ItemValue("\xFF\xC3(\xED\xA0\x80"), "\"\xEF\xBF\xBD\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
        {ItemValue(longText), '"' + longText + '"'},
        {ItemValue(System::Rsc::RscVersion{1, 2, 3, 4}), R"("1.2.3.4")"},
        {ItemValue(), "null"},
        {odd, "\"(Time32)\""},
    };
    for (const auto& [value, text] : cases)
    {
        EXPECT_EQ(WriteOne(value), text);
        EXPECT_NO_THROW(ListKeys(Send("GetItems"))) << text;
    }
}

TEST_F(RequestingItems, NamesTheTypeOfTheValueWhenNoneIsDescribed)
{
    auto& item = service->Add("A", ItemValue(true));
    item.description.type = RscType::NotSet;
    EXPECT_THAT(Send("GetItems"), HasSubstr(R"("type":"bool")"));
    item.state.value = ItemValue("now a text");
    EXPECT_THAT(Send("GetItems"), HasSubstr(R"("type":"string")"));
    item.state.value = ItemValue();
    EXPECT_THAT(Send("GetItems"), HasSubstr(R"("type":"","origin")"));
}

TEST_F(RequestingItems, WritesAnItemThatIsNotListed)
{
    service->Add("B", ItemValue(true), "V");
    ASSERT_THAT(Send("GetItems"), HasSubstr(R"("unit":"V")"));
    service->Add("A", ItemValue(true), "V");
    service->Add("C", ItemValue(true), "V");
    const BasicString body = Send("GetItems");
    EXPECT_THAT(body, HasSubstr(R"("key":"A","unit":"","description")"));
    EXPECT_THAT(body, HasSubstr(R"("key":"B","unit":"V","description")"));
    EXPECT_THAT(body, HasSubstr(R"("key":"C","unit":"","description")"));
}

TEST_F(RequestingItems, SelectsByPrefixAndContinuesAfterAKey)
{
    for (const char* const key : {"A.One", "A.Two", "Ab", "B", "\xC3\xA4%"})
    {
        service->Add(key, ItemValue(true));
    }
    const std::pair<BasicString, BasicString> cases[] = {
        {"", "A.One A.Two Ab B \xC3\xA4% "},
        {"prefix=A.", "A.One A.Two "},
        {"prefix=%41%2E", "A.One A.Two "},
        {"prefix=A.&after=A.One", "A.Two "},
        {"after=Ab", "B \xC3\xA4% "},
        {"prefix=%C3%A4%25", "\xC3\xA4% "},
        {"prefix=a.", ""},
        {"Prefix=B", "A.One A.Two Ab B \xC3\xA4% "},
        {"prefix=" + BasicString(511, 'x'), ""},
    };
    for (const auto& [query, keys] : cases)
    {
        const BasicString body = Send("GetItems", query);
        EXPECT_EQ(ListKeys(body), keys) << query;
        EXPECT_FALSE(IsCut(body)) << query;
    }
    for (const BasicString query : {"prefix=%FF", "after=%ED%A0%80", "prefix=A%00", "after=%00"})
    {
        EXPECT_EQ(Send("GetItems", query), Error("InvalidRequest")) << query;
    }
    EXPECT_EQ(Send("GetItems", "after=" + BasicString(512, 'x')), Error("InvalidRequest"));
}

TEST_F(RequestingItems, BoundsAResponseAndContinuesWithEveryItemOnce)
{
    const BasicString controls(511, '\x01');
    const std::pair<std::size_t, BasicString> cases[] = {{1000, "short"}, {300, controls}};
    for (const auto& [count, text] : cases)
    {
        service->items.clear();
        BasicString expected;
        for (std::size_t index = 0; index < count; ++index)
        {
            const BasicString key = fmt::format("Item.{:04}", index);
            auto& item = service->Add(key, ItemValue(text));
            item.description.description = text;
            item.state.cause = text;
            expected += key + " ";
        }
        module->ResetModule(host);
        SetUpModule();
        BasicString found;
        BasicString body;
        do
        {
            const BasicString last = found.empty() ? "" : found.substr(found.size() - 10, 9);
            body = Send("GetItems", "after=" + last);
            ASSERT_LE(body.size(), 144U * 1024) << "the bound and one item";
            const BasicString keys = ListKeys(body);
            ASSERT_NE(keys, "") << "after " << last;
            found += keys;
        } while (IsCut(body));
        EXPECT_EQ(found, expected);
    }
}

TEST_F(RequestingItems, ReadsAListThatComesInSeveralPages)
{
    service->pageItems = 2;
    for (const char* const key : {"A", "B", "C", "D", "E"})
    {
        service->Add(key, ItemValue(true), "V");
    }
    EXPECT_THAT(Send("GetItems", "after=D"), HasSubstr(R"("unit":"V")"));
    EXPECT_EQ(service->listCount, 3U);
    EXPECT_TRUE(IsCut(Send("GetItems")));
}

TEST_F(RequestingItems, RefusesAListThatNeverEnds)
{
    service->pageItems = 2;
    service->ignoresAfter = true;
    for (const char* const key : {"A", "B", "C"})
    {
        service->Add(key, ItemValue(true));
    }
    EXPECT_THROW(Send("GetItems"), RscServiceException);
}

TEST_F(RequestingItems, ReportsWhatTheServiceThrowsAndLogsItAtABoundedRate)
{
    const LogRecorder log;
    service->Add("A", ItemValue(true)).description.hasHistory = true;
    using System::Commons::ArgumentException;
    using System::Commons::InvalidOperationException;
    const std::pair<std::exception_ptr, BasicString> cases[] = {
        {std::make_exception_ptr(ArgumentException::Create("x", "y", "No.")), Error("InvalidInput")},
        {std::make_exception_ptr(InvalidOperationException::Create("No.")), Error("UnknownError")},
        {std::make_exception_ptr(std::runtime_error("no")), Error("UnknownError")},
    };
    for (const auto& [failure, body] : cases)
    {
        service->failure = failure;
        EXPECT_EQ(Send("GetItems"), body);
        EXPECT_EQ(Send("GetHistory", "key=A"), body);
    }
    for (int count = 0; count < 100; ++count)
    {
        EXPECT_EQ(Send("GetItems"), Error("UnknownError"));
    }
    EXPECT_EQ(log.GetEntries().size(), 10U);
    EXPECT_EQ(log.GetEntries().back(), (LogRecorder::Entry{System::Commons::Diagnostics::Logging::LogLevel::Error,
                                                           "Oxa::Services::Modules::Wbm::Items::Internal::ItemsHandler",
                                                           "the request 'GetItems' failed: no"}));
    service->failure = nullptr;
    EXPECT_THAT(Send("GetItems"), HasSubstr(R"("isCut":false)"));
}

class RequestingHistory : public RequestingItems
{
protected:
    RequestingHistory()
    {
        service->Add("Temperature", ItemValue(int8{40}), "°C").description.hasHistory = true;
        service->Add("Name", ItemValue("x"));
    }
};

TEST_F(RequestingHistory, WritesThreeArraysOfOneLengthWithGaps)
{
    EXPECT_EQ(Send("GetHistory", "key=Temperature&from=1000&to=4000&points=3"),
              Data(R"({"key":"Temperature","unit":"°C","start":1000,"stepMilliseconds":1000,)"
                   R"("minimum":[0,null,2],"mean":[0.1,null,2.1],"maximum":[1,null,3]})"));
    const BasicString body = Send("GetHistory", "key=Temperature&points=1000");
    EXPECT_NO_THROW(JsonReader reader(body));
}

TEST_F(RequestingHistory, TakesTheLast24HoursAnd300PointsByDefault)
{
    using namespace std::chrono;
    constexpr int64 day = 86'400'000;
    const auto getNow = []
    {
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    };
    const int64 before = getNow();
    const std::pair<BasicString, std::tuple<int64, int64, std::size_t>> cases[] = {
        {"", {before - day, before, 300}},
        {"&to=253402300799999&points=7", {253'402'300'799'999 - day, 253'402'300'799'999, 7}},
        {"&from=0&points=1", {0, before, 1}},
        {"&from=5&to=6", {5, 6, 300}},
        {"&to=6", {0, 6, 300}},
    };
    for (const auto& [query, expected] : cases)
    {
        Send("GetHistory", "key=Temperature" + query);
        const auto& [from, to, points] = service->historyRequests.back();
        const auto isNear = [elapsed = getNow() - before](int64 time, int64 wanted)
        {
            return time >= wanted && time <= wanted + elapsed;
        };
        EXPECT_TRUE(isNear(from, std::get<0>(expected))) << query << ": " << from;
        EXPECT_TRUE(isNear(to, std::get<1>(expected))) << query << ": " << to;
        EXPECT_EQ(points, std::get<2>(expected)) << query;
    }
}

TEST_F(RequestingHistory, RefusesParametersBeforeTheServiceIsAsked)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"", "InvalidRequest"},
        {"Key=Temperature", "InvalidRequest"},
        {"key=%FF", "InvalidRequest"},
        {"key=Temperature&points=0", "InvalidRequest"},
        {"key=Temperature&points=1001", "InvalidRequest"},
        {"key=Temperature&points=", "InvalidRequest"},
        {"key=Temperature&points=%2B5", "InvalidRequest"},
        {"key=Temperature&points=5.0", "InvalidRequest"},
        {"key=Temperature&points=5%20", "InvalidRequest"},
        {"key=Temperature&points=99999999999999999999", "InvalidRequest"},
        {"key=Temperature&from=-1", "InvalidRequest"},
        {"key=Temperature&from=x", "InvalidRequest"},
        {"key=Temperature&to=0x10", "InvalidRequest"},
        {"key=Temperature&to=0", "InvalidRequest"},
        {"key=Temperature&to=253402300800000", "InvalidRequest"},
        {"key=Temperature&from=-9223372036854775808&to=9223372036854775807", "InvalidRequest"},
        {"key=Temperature&from=7&to=7", "InvalidRequest"},
        {"key=Temperature&from=8&to=7", "InvalidRequest"},
    };
    for (const auto& [query, code] : cases)
    {
        EXPECT_EQ(Send("GetHistory", query), Error(code)) << query;
    }
    EXPECT_TRUE(service->historyRequests.empty());
}

TEST_F(RequestingHistory, ReportsAnItemThatIsUnknownOrHasNone)
{
    for (const char* const key : {"Name", "Nothing", "", "temperature"})
    {
        EXPECT_EQ(Send("GetHistory", "key=" + BasicString(key)), Error("InvalidInput")) << key;
    }
}

} // namespace
