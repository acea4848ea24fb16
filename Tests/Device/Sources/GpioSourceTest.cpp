#include "Device/Sources/GpioSource.hpp"

#include "Device/FakeClock.hpp"

#include <gtest/gtest.h>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;

TEST(ReadingAGpioLine, NamesTheMissingChipAndLine)
{
    const FakeClock clock;
    const std::pair<BasicString, BasicString> cases[] = {
        {"/dev/no-such-chip", "No such file or directory"},
        {"no-such-label", "No such file or directory"},
        {"/dev/null", ""},
    };
    for (const auto& [chip, error] : cases)
    {
        GpioSource source({.chip = chip, .line = "run-stop", .activeText = "Run", .inactiveText = "Stop"}, clock.Get());
        const BasicString cause = "cannot open the chip (GPIO chip '" + chip + "', line 'run-stop'): " + error;
        const BasicString first = source.Read(ReadPass::Begin()).cause;
        // Why another device is no chip depends on the library's version.
        EXPECT_TRUE(error.empty() ? first.starts_with(cause) && first != cause : first == cause) << first;
        EXPECT_EQ(source.Read(ReadPass::Begin()).cause, first) << "between two attempts";
    }
}

} // namespace Oxa::Tests::Device
