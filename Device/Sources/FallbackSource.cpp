#include "Device/Sources/FallbackSource.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::Diagnostics::Logging::LogLevel;

FallbackSource::FallbackSource(std::vector<std::unique_ptr<Items::IItemSource>> sources,
                               std::optional<System::Rsc::RscType> type)
    : sources(std::move(sources)), type(type)
{
}

std::unique_ptr<Items::IItemSource> FallbackSource::ChooseNow(const BasicString& key) &&
{
    const auto pass = Items::ReadPass::Begin();
    BasicString causes;
    for (auto& source : sources)
    {
        const Items::ItemReading reading = Items::ItemConversion::ReadAs(type, *source, pass);
        if (!reading.HasValue())
        {
            causes += (causes.empty() ? "" : "; ") + reading.cause;
            continue;
        }
        if (!causes.empty() && source->GetSimulation() == Items::Simulation::Always)
        {
            Log(LogLevel::Warning, "the item '{0}' is simulated until the services start again: {1}", key,
                System::Commons::Text::EscapeControlCharacters(causes));
        }
        return std::move(source);
    }
    return std::move(sources.back());
}

Items::ItemReading FallbackSource::Read(const Items::ReadPass& pass)
{
    BasicString causes;
    for (const auto& source : sources)
    {
        Items::ItemReading reading = Items::ItemConversion::ReadAs(type, *source, pass);
        if (reading.HasValue())
        {
            return reading;
        }
        causes += (causes.empty() ? "" : "; ") + reading.cause;
    }
    return Items::ItemReading::Missing(std::move(causes));
}

BasicString FallbackSource::Describe() const
{
    BasicString text;
    for (const auto& source : sources)
    {
        text += (text.empty() ? "" : ", else ") + source->Describe();
    }
    return text;
}

Items::Simulation FallbackSource::GetSimulation() const noexcept
{
    using Items::Simulation;
    const auto isSimulated = [](Simulation simulation)
    {
        return [simulation](const auto& source)
        {
            return source->GetSimulation() == simulation;
        };
    };
    if (std::all_of(sources.begin(), sources.end(), isSimulated(Simulation::Always)))
    {
        return Simulation::Always;
    }
    return std::all_of(sources.begin(), sources.end(), isSimulated(Simulation::Never)) ? Simulation::Never
                                                                                       : Simulation::AsFallback;
}

Items::ItemOrigin FallbackSource::GetOrigin() const noexcept
{
    const auto present = std::ranges::find_if(sources, [](const auto& source)
                                              { return source->GetOrigin() != Items::ItemOrigin::Absent; });
    return present == sources.end() ? Items::ItemOrigin::Absent : (*present)->GetOrigin();
}

} // namespace Oxa::Device::Linux::Sources
