#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Items/MemorySource.hpp"
#include "Device/Items/OsReleaseSource.hpp"
#include "Device/Items/TemperatureSource.hpp"
#include "Device/Items/TextFileSource.hpp"
#include "Device/Items/UptimeFileSource.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace std::string_view_literals;

namespace
{

using Cases = std::vector<std::pair<std::string_view, BasicString>>;

/// Content of the source's file → typed value.
template <class Source, class... Args>
void ExpectReadings(const Cases& cases, const Args&... args)
{
    const FakeMachine machine;
    Source source(machine.GetPath("/file"), args...);
    for (const auto& [content, expected] : cases)
    {
        machine.Write("/file", content);
        const ItemReading reading = source.Read(ReadPass::Begin());
        EXPECT_EQ(ToTypedText(reading.value), expected) << "content: '" << content << "'";
        EXPECT_EQ(reading.HasValue(), expected != "NotSet") << "content: '" << content << "'";
    }
}

} // namespace

TEST(ReadingTemperatures, RoundsToDegreesAndStaysWithinEightBits)
{
    ExpectReadings<TemperatureSource>({{"45000\n", "Int8 45"},
                                       {"0\n", "Int8 0"},
                                       {"-499", "Int8 0"},
                                       {"-500", "Int8 -1"},
                                       {"44500", "Int8 45"},
                                       {"44499", "Int8 44"},
                                       {"127400", "Int8 127"},
                                       {"300000", "Int8 127"},
                                       {"-273150", "Int8 -128"},
                                       {"-9223372036854775808", "Int8 -128"},
                                       {"9223372036854775807", "Int8 127"},
                                       {"9223372036854775808", "NotSet"},
                                       {"", "NotSet"},
                                       {"45.5", "NotSet"},
                                       {"hot", "NotSet"}},
                                      BasicString("board"));
}

TEST(ReadingMemory, IsTheShareThatIsNotAvailable)
{
    ExpectReadings<MemorySource>({{"MemTotal: 1000 kB\nMemAvailable: 250 kB\n", "Uint8 75"},
                                  {"MemTotal: 1000 kB\nMemAvailable: 0 kB\n", "Uint8 100"},
                                  {"MemTotal: 1000 kB\nMemAvailable: 1000 kB\n", "Uint8 0"},
                                  {"MemTotal: 1000 kB\nMemAvailable: 2000 kB\n", "Uint8 0"},
                                  {"MemTotal: 18446744073709551615 kB\nMemAvailable: 1 kB\n", "Uint8 100"},
                                  {"MemTotal: 0 kB\nMemAvailable: 0 kB\n", "NotSet"},
                                  {"MemTotal: 1000 kB\nMemFree: 250 kB\n", "NotSet"},
                                  {"MemTotal: 1000\nMemAvailable: 250\n", "NotSet"},
                                  {"MemTotal: -5 kB\nMemAvailable: 1 kB\n", "NotSet"},
                                  {"", "NotSet"}});
}

TEST(ReadingUptime, CountsWholeSeconds)
{
    ExpectReadings<UptimeFileSource>({{"0.00 0.00\n", "Uint64 0"},
                                      {"59.99 1.0\n", "Uint64 59"},
                                      {"12", "Uint64 12"},
                                      {"-1.0 0", "NotSet"},
                                      {"1e9 0", "NotSet"},
                                      {"1.x 0", "NotSet"},
                                      {"", "NotSet"}});
}

TEST(ReadingOsRelease, UnderstandsShellQuotes)
{
    ExpectReadings<OsReleaseSource>({{"NAME=Plain\n", "String Plain"},
                                     {"A=1\nNAME=\"Two Words\"\n", "String Two Words"},
                                     {"NAME='it is'", "String it is"},
                                     {"NAME=\"a \\\"b\\\" \\$c\"", "String a \"b\" $c"},
                                     {"NAME=1\nNAME=2\n", "String 2"},
                                     {"NAME=\"open\n", "String \"open"},
                                     {"NAME=\"", "String \""},
                                     {"#NAME=x\nXNAME=y\n", "NotSet"},
                                     {"NAME=\n", "NotSet"},
                                     {"NAME=\"\"\n", "NotSet"},
                                     {"", "NotSet"}},
                                    BasicString("NAME"));
}

TEST(ReadingTextFiles, PassesAnyBytesOnButNoPlaceholders)
{
    const BasicString longText(600, 'a');
    ExpectReadings<TextFileSource>({{"Compact PC\n", "String Compact PC"},
                                    {"model\0next\0"sv, "String model"},
                                    {"\xFF\xFE\"</script>", "String \xFF\xFE\"</script>"},
                                    {longText, "String " + longText.substr(0, 511)},
                                    {BasicString(510, 'a') + "\xC3\xA9", "String " + BasicString(510, 'a')},
                                    {"To Be Filled By O.E.M.\n", "NotSet"},
                                    {"default STRING", "NotSet"},
                                    {" Not Specified ", "NotSet"},
                                    {"\0\0\0"sv, "NotSet"},
                                    {"", "NotSet"}});
}

} // namespace Oxa::Tests::Device
