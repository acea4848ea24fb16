#include "Di/Internal/Data/DataSections.hpp"

#include "Di/Internal/Data/DataSection.hpp"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonSerializationContext;
using System::Commons::Json::JsonWriter;

DataSections::DataSections(std::vector<DataSection*>& sections) : sections(sections) {}

std::vector<BasicString> DataSections::ParseSectionsNamesList(const BasicString& sectionsNames)
{
    BasicString text = sectionsNames;
    if (!text.empty() && text.back() == '&')
    {
        text.pop_back();
    }
    std::vector<BasicString> names;
    boost::algorithm::split(names, text, boost::algorithm::is_any_of("&"), boost::algorithm::token_compress_off);
    return names;
}

bool DataSections::UpdateData() const
{
    return std::all_of(sections.begin(), sections.end(), [](DataSection* section) { return section->UpdateData(); });
}

void DataSections::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void DataSections::WriteJson(JsonWriter& writer, JsonSerializationContext& context)
{
    for (DataSection* const section : sections)
    {
        section->WriteJson(writer, context);
    }
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
