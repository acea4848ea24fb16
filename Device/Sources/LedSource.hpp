#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <optional>
#include <string_view>

namespace Oxa::Device::Linux::Sources
{

/// The low 16 bits of a LED's status word.
enum class LedState : uint16
{
    Off = 0,
    On = 1,
    SlowBlinking = 2,
    FastBlinking = 3
};

/// The high 16 bits of a LED's status word.
enum class LedColour : uint16
{
    Unknown = 0,
    Green = 1,
    Yellow = 2,
    Red = 3,
    Blue = 4,
    White = 5
};

[[nodiscard]] constexpr uint32 MakeLedWord(LedState state, LedColour colour) noexcept
{
    return static_cast<uint32>(colour) << 16U | static_cast<uint32>(state);
}

/// The status word of a LED that the kernel drives. It blinks by its triggers "timer" (period below 500 ms: fast),
/// "heartbeat" and "pattern" (slow); by any other, and without one, it is on when its brightness is above 0.
/// Safe from any thread.
class LedSource final : public Items::IItemSource
{
public:
    /// `folder`: of the class device, for instance "/sys/class/leds/board:green:run". Without a colour, that of the
    /// name.
    explicit LedSource(const BasicString& folder, std::optional<LedColour> colour = std::nullopt);

    /// The first of the name's parts, which ':' separates, that is a colour; amber and orange count as yellow.
    [[nodiscard]] static LedColour GetColourOfName(std::string_view name) noexcept;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading MakeReading(LedState state) const;
    [[nodiscard]] Items::ItemReading ReadByTimer(const Items::ReadPass& pass);
    [[nodiscard]] Items::ItemReading ReadByBrightness(const Items::ReadPass& pass);

    const BasicString folder;
    const LedColour colour;
    Machine::KeptFile brightnessFile;
    Machine::KeptFile triggerFile;
    Machine::KeptFile delayOnFile;
    Machine::KeptFile delayOffFile;
};

} // namespace Oxa::Device::Linux::Sources
