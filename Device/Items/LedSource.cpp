#include "Device/Items/LedSource.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace Oxa::Device::Linux::Items
{

namespace
{

constexpr uint64 slowPeriodMilliseconds = 500;
constexpr std::size_t maximumNumberBytes = 32;

constexpr std::pair<std::string_view, LedColour> colourNames[] = {
    {"green", LedColour::Green},   {"yellow", LedColour::Yellow}, {"amber", LedColour::Yellow},
    {"orange", LedColour::Yellow}, {"red", LedColour::Red},       {"blue", LedColour::Blue},
    {"white", LedColour::White}};

/// A number, or why there is none.
struct NumberReading
{
    uint64 number = 0;
    BasicString cause;
};

NumberReading ReadNumber(KeptFile& file)
{
    std::array<char, maximumNumberBytes> buffer;
    const KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return {0, file.DescribeError(content.error)};
    }
    const auto number = DeviceText::ParseNumber<uint64>(DeviceText::Trim(content.text));
    return number ? NumberReading{*number, {}}
                  : NumberReading{0, fmt::format("'{}' holds no whole number", file.GetPath())};
}

/// The trigger in brackets of "none [timer] heartbeat"; empty when the LED can have none.
std::string_view ReadTrigger(KeptFile& file, std::span<char> buffer) noexcept
{
    std::string_view text = file.Read(buffer).text;
    (void)DeviceText::TakeUntil(text, '[');
    return DeviceText::TakeUntil(text, ']');
}

} // namespace

LedSource::LedSource(const BasicString& folder, std::optional<LedColour> colour)
    : folder(folder),
      colour(colour.value_or(GetColourOfName(std::string_view(folder).substr(folder.rfind('/') + 1)))),
      brightnessFile(folder + "/brightness"),
      triggerFile(folder + "/trigger"),
      delayOnFile(folder + "/delay_on"),
      delayOffFile(folder + "/delay_off")
{
}

LedSource::~LedSource() = default;

LedColour LedSource::GetColourOfName(std::string_view name) noexcept
{
    while (!name.empty())
    {
        const std::string_view part = DeviceText::TakeUntil(name, ':');
        const auto* const found = std::find_if(std::begin(colourNames), std::end(colourNames),
                                               [part](const auto& entry) { return entry.first == part; });
        if (found != std::end(colourNames))
        {
            return found->second;
        }
    }
    return LedColour::Unknown;
}

ItemReading LedSource::Read(const ReadPass&)
{
    std::array<char, KeptFile::pageBytes> buffer;
    const std::string_view trigger = ReadTrigger(triggerFile, buffer);
    if (trigger == "timer")
    {
        return ReadByTimer();
    }
    if (trigger == "heartbeat" || trigger == "pattern")
    {
        return MakeReading(LedState::SlowBlinking);
    }
    return ReadByBrightness();
}

BasicString LedSource::Describe() const
{
    return "LED " + folder;
}

ItemReading LedSource::MakeReading(LedState state) const
{
    return ItemReading::Of(MakeLedWord(state, colour));
}

ItemReading LedSource::ReadByTimer()
{
    NumberReading on = ReadNumber(delayOnFile);
    if (!on.cause.empty())
    {
        return ItemReading::Missing(std::move(on.cause));
    }
    NumberReading off = ReadNumber(delayOffFile);
    if (!off.cause.empty())
    {
        return ItemReading::Missing(std::move(off.cause));
    }
    // The kernel lets a LED without one of the two times rest in the other state.
    if (on.number == 0)
    {
        return MakeReading(LedState::Off);
    }
    if (off.number == 0)
    {
        return MakeReading(LedState::On);
    }
    const bool isSlow =
        std::max(on.number, off.number) >= slowPeriodMilliseconds || on.number + off.number >= slowPeriodMilliseconds;
    return MakeReading(isSlow ? LedState::SlowBlinking : LedState::FastBlinking);
}

ItemReading LedSource::ReadByBrightness()
{
    NumberReading brightness = ReadNumber(brightnessFile);
    if (!brightness.cause.empty())
    {
        return ItemReading::Missing(std::move(brightness.cause));
    }
    return MakeReading(brightness.number == 0 ? LedState::Off : LedState::On);
}

} // namespace Oxa::Device::Linux::Items
