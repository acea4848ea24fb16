#include "Device/Description/DeviceDescription.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/FileSource.hpp"
#include "Device/Sources/MemorySource.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;
using namespace std::string_view_literals;

namespace
{

using Cases = std::vector<std::pair<std::string_view, BasicString>>;

/// Content of the source's file → typed value. `makeSource` gets the file's path.
template <class MakeSource>
void ExpectReadings(const Cases& cases, const MakeSource& makeSource)
{
    const FakeMachine machine;
    auto source = makeSource(machine.GetPath("/file"));
    for (const auto& [content, expected] : cases)
    {
        machine.Write("/file", content);
        const ItemReading reading = source->Read(ReadPass::Begin());
        EXPECT_EQ(ToTypedText(reading.value), expected) << "content: '" << content << "'";
        EXPECT_EQ(reading.HasValue(), expected != "NotSet") << "content: '" << content << "'";
    }
}

auto MakeFile(FileSource::Options options)
{
    return [options](const BasicString& path)
    {
        return std::make_unique<FileSource>(std::make_shared<KeptFile>(path), options);
    };
}

} // namespace

TEST(ReadingMemory, IsTheShareThatIsNotAvailable)
{
    ExpectReadings({{"MemTotal: 1000 kB\nMemAvailable: 250 kB\n", "Uint8 75"},
                    {"MemTotal: 1000 kB\nMemAvailable: 0 kB\n", "Uint8 100"},
                    {"MemTotal: 1000 kB\nMemAvailable: 1000 kB\n", "Uint8 0"},
                    {"MemTotal: 1000 kB\nMemAvailable: 2000 kB\n", "Uint8 0"},
                    {"MemTotal: 18446744073709551615 kB\nMemAvailable: 1 kB\n", "Uint8 100"},
                    {"MemTotal: 0 kB\nMemAvailable: 0 kB\n", "NotSet"},
                    {"MemTotal: 1000 kB\nMemFree: 250 kB\n", "NotSet"},
                    {"MemTotal: 1000\nMemAvailable: 250\n", "NotSet"},
                    {"MemTotal: -5 kB\nMemAvailable: 1 kB\n", "NotSet"},
                    {"", "NotSet"}},
                   [](const BasicString& path) {
                       return std::make_unique<MemorySource>(std::make_shared<MemoryProbe>(path),
                                                             MemoryProbe::Figure::UsagePercent);
                   });
}

TEST(ReadingUptime, CountsWholeSeconds)
{
    const std::pair<const char*, const char*> cases[] = {
        {"0.00 0.00\n", "Uint64 0"}, {"59.99 1.0\n", "Uint64 59"}, {"12", "Uint64 12"}, {"-1.0 0", "NotSet"},
        {"1e9 0", "NotSet"},         {"1.x 0", "NotSet"},          {"", "NotSet"}};
    const FakeMachine machine;
    Oxa::Device::Linux::Description::DescribedMachine described(machine.GetRoot());
    const auto items =
        Oxa::Device::Linux::Description::DeviceDescription::Parse(
            "<DeviceDescriptionDocument><Item key='A'><uptime/></Item></DeviceDescriptionDocument>", "test")
            .MakeItems(described);
    for (const auto& [content, expected] : cases)
    {
        machine.Write("/proc/uptime", content);
        EXPECT_EQ(ToTypedText(items->Read("A")), expected) << "content: '" << content << "'";
    }
}

TEST(ReadingOsRelease, UnderstandsShellQuotes)
{
    ExpectReadings({{"NAME=Plain\n", "String Plain"},
                    {"A=1\nNAME=\"Two Words\"\n", "String Two Words"},
                    {"NAME='it is'", "String it is"},
                    {"NAME=\"a \\\"b\\\" \\$c\"", "String a \"b\" $c"},
                    {"NAME=1\nNAME=2\n", "String 2"},
                    {"NAME=\"open\n", "String \"open"},
                    {"NAME=\"", "String \""},
                    {"#NAME=x\nXNAME=y\n", "NotSet"},
                    {"NAME=\n", "NotSet"},
                    {"NAME=\"\"\n", "NotSet"},
                    {BasicString(4088, '\n') + "NAME=whole", "NotSet"},
                    {"", "NotSet"}},
                   [](const BasicString& path)
                   {
                       return std::make_unique<OsReleaseSource>(std::vector{std::make_shared<KeptFile>(path)},
                                                                std::vector<BasicString>{"LONG", "NAME"});
                   });
}

TEST(ReadingTextFiles, PassesAnyBytesOnButNoPlaceholders)
{
    const BasicString longText(600, 'a');
    ExpectReadings({{"Compact PC\n", "String Compact PC"},
                    {"model\0next\0"sv, "String model"},
                    {"\xFF\xFE\"</script>", "String \xFF\xFE\"</script>"},
                    {longText, "String " + longText.substr(0, 511)},
                    {BasicString(510, 'a') + "\xC3\xA9", "String " + BasicString(510, 'a')},
                    {"To Be Filled By O.E.M.\n", "NotSet"},
                    {" Not Specified ", "NotSet"},
                    {"\0\0\0"sv, "NotSet"},
                    {"", "NotSet"}},
                   MakeFile({.pattern = nullptr, .refusesPlaceholders = true}));
}

TEST(ReadingNumbersFromFiles, ScalesAndStaysInTheTypesRange)
{
    FileSource::Options options;
    BasicString fault;
    options.pattern = LinePattern::TryMake("^volt: (-?[0-9.]+)", fault);
    ASSERT_NE(options.pattern, nullptr) << fault;
    options.scale = 0.1;
    options.offset = 5;
    options.type = System::Rsc::RscType::Int8;
    ExpectReadings({{"x\nvolt: 14\n", "Int8 6"},
                    {"volt: -155", "Int8 -11"}, // -10.5
                    {"volt: 1224", "Int8 127"},
                    {"volt: 1225", "NotSet"},
                    {"volt: 1.2.3", "NotSet"},
                    {"avolt: 1", "NotSet"},
                    {BasicString(4088, '\n') + "volt: 12", "NotSet"},
                    {"volt: " + BasicString(3000, '0') + "14\n", "Int8 6"}},
                   MakeFile(options));
    options.pattern = nullptr;
    options.scale = 1;
    ExpectReadings({{BasicString(127, '0') + "9", "Int8 14"}, {BasicString(127, '0') + "91", "NotSet"}},
                   MakeFile(options));
}

TEST(MatchingLines, IsQuickWhateverTheExpressionIsAndRefusesTheRest)
{
    const BasicString text(4000, 'a');
    const std::pair<BasicString, BasicString> cases[] = {
        {"((?:a*)*)b$", ""},
        {"(.*.*.*.*.*.*.*.*.*.*.*.*)x", ""},
        {"((?:a{1,99}){1,9}){9}x", "invalid repetition size"},
        {"(?=.*x)(a)", "invalid perl operator"},
        {"(a)\\1", "invalid escape"},
        {"(a", "missing )"},
        {"(a)(b)", "exactly one group"},
        {"(" + BasicString(255, 'a') + ")", "at most 256 bytes"},
    };
    for (const auto& [expression, expected] : cases)
    {
        BasicString fault;
        const auto pattern = LinePattern::TryMake(expression, fault);
        EXPECT_EQ(pattern == nullptr, !expected.empty()) << expression << ": " << fault;
        EXPECT_NE(fault.find(expected), BasicString::npos) << expression << ": " << fault;
        EXPECT_FALSE(pattern && pattern->Find(text)) << expression;
    }
}

TEST(MatchingLines, LeavesCarriageReturnsOutAndSaysWhenTheGroupIsEmpty)
{
    FileSource::Options options;
    BasicString fault;
    options.pattern = LinePattern::TryMake("^(?:skip|name=([^;]*));?$", fault);
    ASSERT_NE(options.pattern, nullptr) << fault;
    ExpectReadings({{"x\r\nname=a b\r\n", "String a b"},
                    {"skip\nname=\xFF\xE9;\r", "String \xFF\xE9"},
                    {"skip\r\n\r\n", "NotSet"},
                    {"name=\r\n", "NotSet"}},
                   MakeFile(options));
    const FakeMachine machine;
    machine.Write("/file", "name= ;\n");
    EXPECT_EQ(FileSource(std::make_shared<KeptFile>(machine.GetPath("/file")), options).Read(ReadPass::Begin()).cause,
              "the group of the pattern is empty in '" + machine.GetPath("/file") + "'");
}

TEST(ReadingTheDeviceTree, TakesOneTextOrNumberOfSeveral)
{
    const auto make = [](DeviceTreeSource::Options options)
    {
        return [options](const BasicString& path)
        {
            return std::make_unique<DeviceTreeSource>(std::make_shared<KeptFile>(path), options);
        };
    };
    ExpectReadings({{"a,b\0c\0"sv, "String c"}, {"a,b\0"sv, "NotSet"}}, make({.index = 1, .cells = 0}));
    ExpectReadings({{"\0\0\1\2\377\0\0\3"sv, "Uint32 4278190083"}, {"\0\0\1\2\0\0\0"sv, "NotSet"}},
                   make({.index = 1, .cells = 1}));
    ExpectReadings({{"\0\0\0\1\0\0\0\2"sv, "Uint64 4294967298"}}, make({.index = 0, .cells = 2}));
}

} // namespace Oxa::Tests::Device
