#pragma once

#include "Oxa/System/Commons/Export.hpp"

namespace Oxa::System::Commons::Json
{

class JsonReader;
class JsonSerializationContext;
class JsonWriter;

/// Something that can be written as JSON and, where it makes sense, read back.
class OXA_EXPORT IJsonSerializable
{
public:
    virtual ~IJsonSerializable();
    virtual void ReadJson(JsonReader& reader, JsonSerializationContext& context) = 0;
    virtual void WriteJson(JsonWriter& writer, JsonSerializationContext& context) = 0;
};

} // namespace Oxa::System::Commons::Json
