#include "Device/Items/FirstSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Items
{

FirstSource::FirstSource(std::vector<std::unique_ptr<IItemSource>> sources) : sources(std::move(sources)) {}

FirstSource::~FirstSource() = default;

ItemReading FirstSource::Read(const ReadPass& pass)
{
    BasicString causes;
    for (const auto& source : sources)
    {
        ItemReading reading = source->Read(pass);
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

} // namespace Oxa::Device::Linux::Items
