#include "Device/Items/FirstSource.hpp"

#include "Device/Items/ItemConversion.hpp"

#include <utility>

namespace Oxa::Device::Linux::Items
{

FirstSource::FirstSource(std::vector<std::unique_ptr<IItemSource>> sources, std::optional<System::Rsc::RscType> type)
    : sources(std::move(sources)), type(type)
{
}

FirstSource::~FirstSource() = default;

ItemReading FirstSource::Read(const ReadPass& pass)
{
    BasicString causes;
    for (const auto& source : sources)
    {
        ItemReading reading = ReadAs(type, *source, pass);
        if (reading.HasValue())
        {
            return reading;
        }
        causes += (causes.empty() ? "" : "; ") + reading.cause;
    }
    return ItemReading::Missing(std::move(causes));
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

ItemReading FirstSource::ReadAs(std::optional<System::Rsc::RscType> type, IItemSource& source, const ReadPass& pass)
{
    ItemReading reading = source.Read(pass);
    if (!type || !reading.HasValue() || reading.isTypeKept || reading.value.GetType() == *type)
    {
        return reading;
    }
    reading = ItemConversion::Convert(reading.value, *type);
    if (!reading.HasValue())
    {
        reading.cause += ", " + source.Describe();
    }
    return reading;
}

} // namespace Oxa::Device::Linux::Items
