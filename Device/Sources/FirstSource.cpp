#include "Device/Sources/FirstSource.hpp"

#include "Device/Items/ItemConversion.hpp"

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
        Items::ItemReading reading = ReadAs(type, *source, pass);
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

Items::ItemReading FirstSource::ReadAs(std::optional<System::Rsc::RscType> type, Items::IItemSource& source,
                                       const Items::ReadPass& pass)
{
    Items::ItemReading reading = source.Read(pass);
    if (!type || !reading.HasValue() || reading.isTypeKept || reading.value.GetType() == *type)
    {
        return reading;
    }
    reading = Items::ItemConversion::Convert(reading.value, *type);
    if (!reading.HasValue())
    {
        reading.cause += ", " + source.Describe();
    }
    return reading;
}

} // namespace Oxa::Device::Linux::Sources
