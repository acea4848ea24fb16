#include "Device/FakeClock.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/GpioSource.hpp"

#include <gpiod.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

/// One chip with one line, in place of the library: the line "run-stop" of offset 5.
struct gpiod_line
{
    bool isHigh = false;
    bool isActiveLow = false;
    int readError = 0;
};

struct gpiod_chip
{
    gpiod_line line;
    int requestError = 0;
    int openCount = 0;
    int requestCount = 0;
};

namespace
{

gpiod_chip machine;

} // namespace

extern "C"
{

    gpiod_chip* gpiod_chip_open_lookup(const char* /*description*/)
    {
        ++machine.openCount;
        return &machine;
    }

    void gpiod_chip_close(gpiod_chip* chip)
    {
        --chip->openCount;
    }

    gpiod_line* gpiod_chip_get_line(gpiod_chip* chip, unsigned int offset)
    {
        errno = EINVAL;
        return offset == 5 ? &chip->line : nullptr;
    }

    gpiod_line* gpiod_chip_find_line(gpiod_chip* chip, const char* name)
    {
        errno = ENOENT;
        return std::string(name) == "run-stop" ? &chip->line : nullptr;
    }

    int gpiod_line_request_input_flags(gpiod_line* line, const char* /*consumer*/, int flags)
    {
        ++machine.requestCount;
        line->isActiveLow = (flags & GPIOD_LINE_REQUEST_FLAG_ACTIVE_LOW) != 0;
        errno = machine.requestError;
        return machine.requestError == 0 ? 0 : -1;
    }

    int gpiod_line_get_value(gpiod_line* line)
    {
        errno = line->readError;
        return line->readError != 0 ? -1 : static_cast<int>(line->isHigh != line->isActiveLow);
    }

} // extern "C"

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Sources;

namespace
{

/// The typed value, or the cause.
BasicString Read(GpioSource& source)
{
    const ItemReading reading = source.Read(ReadPass::Begin());
    return reading.HasValue() ? ToTypedText(reading.value) : reading.cause;
}

} // namespace

TEST(ReadingAGpioLine, GivesTheStateByNameOrOffsetAndPolarity)
{
    const struct
    {
        GpioSource::Line line;
        bool isHigh;
        BasicString expected;
    } cases[] = {
        {{"c", "run-stop", false, "", ""}, true, "Bool true"},
        {{"c", "5", false, "", ""}, false, "Bool false"},
        {{"c", "5", true, "", ""}, false, "Bool true"},
        {{"c", "5", false, "Run", "Stop"}, true, "String Run"},
        {{"c", "5", true, "Run", "Stop"}, true, "String Stop"},
        {{"c", "5x", false, "", ""},
         true,
         "cannot find the line (GPIO chip 'c', line '5x'): No such file or directory"},
        {{"c", "6", false, "", ""}, true, "cannot find the line (GPIO chip 'c', line '6'): Invalid argument"},
    };

    const FakeClock clock;
    for (const auto& [line, isHigh, expected] : cases)
    {
        machine = {};
        machine.line.isHigh = isHigh;
        {
            GpioSource source(line, clock.Get());
            EXPECT_EQ(Read(source), expected);
        }
        EXPECT_EQ(machine.openCount, 0) << "a chip that stays open";
    }
}

TEST(ReadingAGpioLine, RequestsItAnewAfterAFailureAtMostOnceASecond)
{
    machine = {};
    machine.requestError = EBUSY;
    FakeClock clock;
    GpioSource source({"c", "5", false, "", ""}, clock.Get());
    const BasicString busy = "cannot request the line (GPIO chip 'c', line '5'): Device or resource busy";
    EXPECT_EQ(Read(source), busy);
    machine.requestError = 0;
    EXPECT_EQ(Read(source), busy);
    clock.Advance(std::chrono::seconds(1));
    EXPECT_EQ(Read(source), "Bool false");
    EXPECT_EQ(Read(source), "Bool false");
    EXPECT_EQ(machine.requestCount, 2) << "requested at every read";

    machine.line.readError = EIO;
    EXPECT_EQ(Read(source), "cannot read the line (GPIO chip 'c', line '5'): Input/output error");
    EXPECT_EQ(machine.openCount, 0);
    machine.line.readError = 0;
    machine.line.isHigh = true;
    clock.Advance(std::chrono::seconds(1));
    EXPECT_EQ(Read(source), "Bool true");
}

} // namespace Oxa::Tests::Device
