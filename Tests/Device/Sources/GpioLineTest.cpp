#include "Device/FakeClock.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/GpioSource.hpp"

#include <gpiod.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace
{

/// One chip with one line, behind functions in place of the library's: the line "run-stop" of offset 5.
struct FakeChip
{
    bool isHigh = false;
    bool isActiveLow = false;
    int requestError = 0;
    int readError = 0;
    /// Chips and requests that are open.
    int openCount = 0;
    int requestCount = 0;

    int Request(bool shallBeActiveLow)
    {
        ++requestCount;
        isActiveLow = shallBeActiveLow;
        errno = requestError;
        return requestError == 0 ? 0 : -1;
    }

    [[nodiscard]] int Read() const
    {
        errno = readError;
        return readError != 0 ? -1 : static_cast<int>(isHigh != isActiveLow);
    }
};

FakeChip machine;

bool HasLine(unsigned int offset)
{
    errno = EINVAL;
    return offset == 5;
}

bool HasLine(const char* name)
{
    errno = ENOENT;
    return std::string(name) == "run-stop";
}

} // namespace

#if OXA_GPIOD_VERSION >= 2

struct gpiod_chip
{
};

struct gpiod_line_settings
{
    bool isInput = false;
    bool isActiveLow = false;
};

struct gpiod_line_config
{
    unsigned int offset = 0;
    gpiod_line_settings settings;
};

struct gpiod_request_config
{
};

struct gpiod_line_request
{
    unsigned int offset = 0;
};

extern "C"
{

    gpiod_chip* gpiod_chip_open(const char* path)
    {
        errno = ENOENT;
        return std::string(path) == "/dev/c" ? (++machine.openCount, new gpiod_chip) : nullptr;
    }

    void gpiod_chip_close(gpiod_chip* chip)
    {
        --machine.openCount;
        delete chip;
    }

    int gpiod_chip_get_line_offset_from_name(gpiod_chip* /*chip*/, const char* name)
    {
        return HasLine(name) ? 5 : -1;
    }

    gpiod_line_settings* gpiod_line_settings_new()
    {
        return new gpiod_line_settings;
    }

    void gpiod_line_settings_free(gpiod_line_settings* settings)
    {
        delete settings;
    }

    int gpiod_line_settings_set_direction(gpiod_line_settings* settings, gpiod_line_direction direction)
    {
        settings->isInput = direction == GPIOD_LINE_DIRECTION_INPUT;
        return 0;
    }

    void gpiod_line_settings_set_active_low(gpiod_line_settings* settings, bool isActiveLow)
    {
        settings->isActiveLow = isActiveLow;
    }

    gpiod_line_config* gpiod_line_config_new()
    {
        return new gpiod_line_config;
    }

    void gpiod_line_config_free(gpiod_line_config* config)
    {
        delete config;
    }

    int gpiod_line_config_add_line_settings(gpiod_line_config* config, const unsigned int* offsets, size_t /*count*/,
                                            gpiod_line_settings* settings)
    {
        *config = {offsets[0], *settings};
        return 0;
    }

    gpiod_request_config* gpiod_request_config_new()
    {
        return new gpiod_request_config;
    }

    void gpiod_request_config_free(gpiod_request_config* config)
    {
        delete config;
    }

    void gpiod_request_config_set_consumer(gpiod_request_config* /*config*/, const char* /*consumer*/) {}

    gpiod_line_request* gpiod_chip_request_lines(gpiod_chip* /*chip*/, gpiod_request_config* /*request*/,
                                                 gpiod_line_config* config)
    {
        if (!HasLine(config->offset) || !config->settings.isInput || machine.Request(config->settings.isActiveLow) != 0)
        {
            return nullptr;
        }
        ++machine.openCount;
        return new gpiod_line_request{config->offset};
    }

    void gpiod_line_request_release(gpiod_line_request* request)
    {
        --machine.openCount;
        delete request;
    }

    gpiod_line_value gpiod_line_request_get_value(gpiod_line_request* request, unsigned int offset)
    {
        return request->offset == offset ? static_cast<gpiod_line_value>(machine.Read()) : GPIOD_LINE_VALUE_ERROR;
    }

} // extern "C"

// The request fails for an offset that the chip does not have.
constexpr const char* missingOffset = "request the line";

#else

struct gpiod_chip
{
};

struct gpiod_line
{
};

extern "C"
{

    gpiod_chip* gpiod_chip_open_lookup(const char* /*description*/)
    {
        ++machine.openCount;
        return new gpiod_chip;
    }

    void gpiod_chip_close(gpiod_chip* chip)
    {
        --machine.openCount;
        delete chip;
    }

    gpiod_line* gpiod_chip_get_line(gpiod_chip* /*chip*/, unsigned int offset)
    {
        static gpiod_line line;
        return HasLine(offset) ? &line : nullptr;
    }

    gpiod_line* gpiod_chip_find_line(gpiod_chip* chip, const char* name)
    {
        return HasLine(name) ? gpiod_chip_get_line(chip, 5) : nullptr;
    }

    int gpiod_line_request_input_flags(gpiod_line* /*line*/, const char* /*consumer*/, int flags)
    {
        return machine.Request((flags & GPIOD_LINE_REQUEST_FLAG_ACTIVE_LOW) != 0);
    }

    int gpiod_line_get_value(gpiod_line* /*line*/)
    {
        return machine.Read();
    }

} // extern "C"

constexpr const char* missingOffset = "find the line";

#endif

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
        {{"c", "6", false, "", ""},
         true,
         BasicString("cannot ") + missingOffset + " (GPIO chip 'c', line '6'): Invalid argument"},
    };

    const FakeClock clock;
    for (const auto& [line, isHigh, expected] : cases)
    {
        machine = {};
        machine.isHigh = isHigh;
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

    machine.readError = EIO;
    EXPECT_EQ(Read(source), "cannot read the line (GPIO chip 'c', line '5'): Input/output error");
    EXPECT_EQ(machine.openCount, 0);
    machine.readError = 0;
    machine.isHigh = true;
    clock.Advance(std::chrono::seconds(1));
    EXPECT_EQ(Read(source), "Bool true");
}

} // namespace Oxa::Tests::Device
