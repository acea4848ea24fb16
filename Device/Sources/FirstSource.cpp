#include "Device/Sources/FirstSource.hpp"

#include "Device/Items/ItemConversion.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

FirstSource::FirstSource(std::vector<std::unique_ptr<Items::IItemSource>> sources,
                         std::optional<System::Rsc::RscType> type)
    : sources(std::move(sources)), type(type)
{
}

FirstSource::~FirstSource() = default;

Items::ItemReading FirstSource::Read(const Items::ReadPass& pass)
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

BasicString FirstSource::Describe() const
{
    BasicString text;
    for (const auto& source : sources)
    {
        text += (text.empty() ? "" : ", else ") + source->Describe();
    }
    return text;
}

bool FirstSource::IsSimulated() const noexcept
{
    return std::all_of(sources.begin(), sources.end(), [](const auto& source) { return source->IsSimulated(); });
}

bool FirstSource::IsSimulatedAtTimes() const noexcept
{
    return !IsSimulated() &&
           std::any_of(sources.begin(), sources.end(),
                       [](const auto& source) { return source->IsSimulated() || source->IsSimulatedAtTimes(); });
}

} // namespace Oxa::Device::Linux::Sources
