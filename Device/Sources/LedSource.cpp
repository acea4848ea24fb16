#include "Device/Sources/LedSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

constexpr uint64 slowPeriodMilliseconds = 500;

constexpr std::pair<std::string_view, LedColour> colourNames[] = {
    {"green", LedColour::Green},   {"yellow", LedColour::Yellow}, {"amber", LedColour::Yellow},
    {"orange", LedColour::Yellow}, {"red", LedColour::Red},       {"blue", LedColour::Blue},
    {"white", LedColour::White}};

/// The trigger in brackets of "none [timer] heartbeat"; empty when the LED can have none.
std::string_view ReadTrigger(Machine::KeptFile& file, std::span<char> buffer, Machine::WaitBudget& budget) noexcept
{
    std::string_view text = file.Read(buffer, budget).text;
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

Items::ItemReading LedSource::Read(const Items::ReadPass& pass)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    const std::string_view trigger = ReadTrigger(triggerFile, buffer, pass.GetWaitBudget());
    if (trigger == "timer")
    {
        return ReadByTimer(pass);
    }
    if (trigger == "heartbeat" || trigger == "pattern")
    {
        return MakeReading(LedState::SlowBlinking);
    }
    return ReadByBrightness(pass);
}

BasicString LedSource::Describe() const
{
    return "LED " + folder;
}

Items::ItemReading LedSource::MakeReading(LedState state) const
{
    return Items::ItemReading::Of(MakeLedWord(state, colour));
}

Items::ItemReading LedSource::ReadByTimer(const Items::ReadPass& pass)
{
    BasicString cause;
    const auto on = delayOnFile.ReadNumber<uint64>(cause, pass.GetWaitBudget());
    const auto off = on ? delayOffFile.ReadNumber<uint64>(cause, pass.GetWaitBudget()) : std::nullopt;
    if (!off)
    {
        return Items::ItemReading::Missing(std::move(cause));
    }
    // The kernel lets a LED without one of the two times rest in the other state.
    if (*on == 0)
    {
        return MakeReading(LedState::Off);
    }
    if (*off == 0)
    {
        return MakeReading(LedState::On);
    }
    const bool isSlow = std::max(*on, *off) >= slowPeriodMilliseconds || *on + *off >= slowPeriodMilliseconds;
    return MakeReading(isSlow ? LedState::SlowBlinking : LedState::FastBlinking);
}

Items::ItemReading LedSource::ReadByBrightness(const Items::ReadPass& pass)
{
    BasicString cause;
    const auto brightness = brightnessFile.ReadNumber<uint64>(cause, pass.GetWaitBudget());
    if (!brightness)
    {
        return Items::ItemReading::Missing(std::move(cause));
    }
    return MakeReading(*brightness == 0 ? LedState::Off : LedState::On);
}

} // namespace Oxa::Device::Linux::Sources
