#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/KeptFile.hpp"
#include "Device/LedStatus.hpp"

#include <optional>
#include <string_view>

namespace Oxa::Device::Linux::Items
{

/// The status word of a LED that the kernel drives. It blinks by its triggers "timer" (period below 500 ms: fast),
/// "heartbeat" and "pattern" (slow); by any other, and without one, it is on when its brightness is above 0.
/// Safe from any thread.
class LedSource final : public IItemSource
{
public:
    /// `folder`: of the class device, for instance "/sys/class/leds/board:green:run". Without a colour, that of the
    /// name.
    explicit LedSource(const BasicString& folder, std::optional<LedColour> colour = std::nullopt);
    ~LedSource() override;

    /// The first of the name's parts, which ':' separates, that is a colour; amber and orange count as yellow.
    [[nodiscard]] static LedColour GetColourOfName(std::string_view name) noexcept;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] ItemReading MakeReading(LedState state) const;
    [[nodiscard]] ItemReading ReadByTimer();
    [[nodiscard]] ItemReading ReadByBrightness();

    const BasicString folder;
    const LedColour colour;
    KeptFile brightnessFile;
    KeptFile triggerFile;
    KeptFile delayOnFile;
    KeptFile delayOffFile;
};

} // namespace Oxa::Device::Linux::Items
