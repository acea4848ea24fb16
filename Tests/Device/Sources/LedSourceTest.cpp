#include "Device/Sources/LedSource.hpp"

#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"

#include <gtest/gtest.h>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;

namespace
{

BasicString ReadLed(const FakeMachine& machine, LedSource& source)
{
    const ItemReading reading = source.Read(ReadPass::Begin());
    if (!reading.HasValue())
    {
        return reading.cause.substr(0, reading.cause.find(machine.GetPath("")));
    }
    return ToTypedText(reading.value);
}

} // namespace

TEST(ReadingALed, MakesAStatusWordOfBrightnessAndTrigger)
{
    struct Case
    {
        const char* brightness;
        const char* trigger;
        const char* delayOn;
        const char* delayOff;
        const char* expected;
    };

    const Case cases[] = {
        {"0\n", "[none] timer heartbeat\n", "", "", "Uint32 65536"},
        {"255\n", "[none] timer heartbeat\n", "", "", "Uint32 65537"},
        {"1\n", "none timer [mmc0]\n", "", "", "Uint32 65537"},
        {"1\n", "", "", "", "Uint32 65537"},
        {"0\n", "none [timer]\n", "250\n", "250\n", "Uint32 65538"},
        {"0\n", "none [timer]\n", "250\n", "249\n", "Uint32 65539"},
        {"1\n", "none [timer]\n", "18446744073709551615\n", "2\n", "Uint32 65538"},
        {"1\n", "none [timer]\n", "0\n", "100\n", "Uint32 65536"},
        {"0\n", "none [timer]\n", "100\n", "0\n", "Uint32 65537"},
        {"1\n", "none [timer]\n", "soon\n", "100\n", "'"},
        {"0\n", "none [heartbeat] timer\n", "", "", "Uint32 65538"},
        {"0\n", "[pattern]", "", "", "Uint32 65538"},
        {"-1\n", "[none]", "", "", "'"},
        {"\n", "[none", "", "", "'"},
    };
    const FakeMachine machine;
    LedSource missing(machine.GetPath("/leds/board:green:run"));
    EXPECT_EQ(ReadLed(machine, missing), "cannot read '");
    for (const auto& [brightness, trigger, delayOn, delayOff, expected] : cases)
    {
        machine.Write("/leds/board:green:run/brightness", brightness);
        machine.Write("/leds/board:green:run/trigger", trigger);
        machine.Write("/leds/board:green:run/delay_on", delayOn);
        machine.Write("/leds/board:green:run/delay_off", delayOff);
        LedSource source(machine.GetPath("/leds/board:green:run"));
        EXPECT_EQ(ReadLed(machine, source), expected) << trigger << brightness << delayOn << delayOff;
    }
}

TEST(ReadingALed, TakesTheColourFromTheDescriptionOrTheName)
{
    const std::pair<const char*, LedColour> cases[] = {
        {"board:green:run", LedColour::Green},
        {"red:fault-1", LedColour::Red},
        {"x:amber:y", LedColour::Yellow},
        {"blue", LedColour::Blue},
        {"white::0", LedColour::White},
        {"evergreen:run", LedColour::Unknown},
        {"", LedColour::Unknown},
        {":::", LedColour::Unknown},
    };
    for (const auto& [name, colour] : cases)
    {
        EXPECT_EQ(LedSource::GetColourOfName(name), colour) << name;
    }
    const FakeMachine machine;
    machine.Write("/leds/board:green:run/brightness", "1");
    LedSource source(machine.GetPath("/leds/board:green:run"), LedColour::Yellow);
    EXPECT_EQ(ReadLed(machine, source), "Uint32 131073");
}

} // namespace Oxa::Tests::Device
