#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Oxa/System/Commons/Json/JsonSerializationContext.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

namespace Oxa::Tests::Di
{

/// What a section, or a set of them, writes into an object.
inline BasicString WriteToJson(System::Commons::Json::IJsonSerializable& section)
{
    System::Commons::Json::JsonWriter writer;
    System::Commons::Json::JsonSerializationContext context;
    writer.WriteStartObject();
    section.WriteJson(writer, context);
    writer.WriteEndObject();
    return BasicString(writer.GetText());
}

} // namespace Oxa::Tests::Di
