#include "Di/Internal/Data/DataSection.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

DataSection::DataSection(const BasicString& name) : name(name) {}

DataSection::~DataSection() = default;

void DataSection::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void DataSection::WriteJson(JsonWriter& writer, JsonSerializationContext& context)
{
    WriteJsonData(writer, context);
}

void DataSection::Setup() {}

bool DataSection::UpdateData()
{
    return true;
}

const BasicString& DataSection::GetName() const
{
    return name;
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
