#include "Device/Sources/LedSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace Oxa::Device::Linux::Sources
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

NumberReading ReadNumber(Machine::KeptFile& file)
{
    std::array<char, maximumNumberBytes> buffer;
    const Machine::KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return {0, file.DescribeError(content.error)};
    }
    const auto number = Machine::DeviceText::ParseNumber<uint64>(Machine::DeviceText::Trim(content.text));
    return number ? NumberReading{*number, {}}
                  : NumberReading{0, fmt::format("'{}' holds no whole number", file.GetPath())};
}

/// The trigger in brackets of "none [timer] heartbeat"; empty when the LED can have none.
std::string_view ReadTrigger(Machine::KeptFile& file, std::span<char> buffer) noexcept
{
    std::string_view text = file.Read(buffer).text;
    (void)Machine::DeviceText::TakeUntil(text, '[');
    return Machine::DeviceText::TakeUntil(text, ']');
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
        const std::string_view part = Machine::DeviceText::TakeUntil(name, ':');
        const auto* const found = std::find_if(std::begin(colourNames), std::end(colourNames),
                                               [part](const auto& entry) { return entry.first == part; });
        if (found != std::end(colourNames))
        {
            return found->second;
        }
    }
    return LedColour::Unknown;
}

Items::ItemReading LedSource::Read(const Items::ReadPass&)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
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

Items::ItemReading LedSource::MakeReading(LedState state) const
{
    return Items::ItemReading::Of(MakeLedWord(state, colour));
}

Items::ItemReading LedSource::ReadByTimer()
{
    NumberReading on = ReadNumber(delayOnFile);
    if (!on.cause.empty())
    {
        return Items::ItemReading::Missing(std::move(on.cause));
    }
    NumberReading off = ReadNumber(delayOffFile);
    if (!off.cause.empty())
    {
        return Items::ItemReading::Missing(std::move(off.cause));
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

Items::ItemReading LedSource::ReadByBrightness()
{
    NumberReading brightness = ReadNumber(brightnessFile);
    if (!brightness.cause.empty())
    {
        return Items::ItemReading::Missing(std::move(brightness.cause));
    }
    return MakeReading(brightness.number == 0 ? LedState::Off : LedState::On);
}

} // namespace Oxa::Device::Linux::Sources
