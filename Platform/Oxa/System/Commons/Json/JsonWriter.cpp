#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstddef>

namespace Oxa::System::Commons::Json
{

IJsonSerializable::~IJsonSerializable() = default;

struct JsonWriter::Implementation
{
    // Room for a usual answer at once, instead of growing to it in half a dozen steps.
    static constexpr std::size_t initialBytes = 2048;

    enum class Bracket : char
    {
        Object,
        ComplexArray,
        ComplexArrayItem
    };

    void WriteKey(std::string_view name)
    {
        if (Text::IsValidUtf8(name))
        {
            writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
            return;
        }
        const BasicString replaced = Text::ReplaceInvalidUtf8(name);
        writer.Key(replaced.data(), static_cast<rapidjson::SizeType>(replaced.size()));
    }

    void WriteText(std::string_view text)
    {
        if (Text::IsValidUtf8(text))
        {
            writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
            return;
        }
        const BasicString replaced = Text::ReplaceInvalidUtf8(text);
        writer.String(replaced.data(), static_cast<rapidjson::SizeType>(replaced.size()));
    }

    void OpenObject(Bracket bracket)
    {
        writer.StartObject();
        openBrackets.push_back(static_cast<char>(bracket));
    }

    [[nodiscard]] bool IsInnermost(Bracket bracket) const noexcept
    {
        return !openBrackets.empty() && openBrackets.back() == static_cast<char>(bracket);
    }

    void Close(Bracket bracket)
    {
        if (!IsInnermost(bracket))
        {
            throw InvalidOperationException::Create("The JSON bracket to be closed is not the innermost open one");
        }
        openBrackets.pop_back();
        bracket == Bracket::ComplexArray ? writer.EndArray() : writer.EndObject();
    }

    rapidjson::StringBuffer buffer{nullptr, initialBytes};
    rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
    // A text as a stack: short ones need no allocation.
    std::string openBrackets;
};

JsonWriter::JsonWriter() : implementation(std::make_unique<Implementation>()) {}

JsonWriter::~JsonWriter() = default;

void JsonWriter::WriteStartObject()
{
    implementation->OpenObject(Implementation::Bracket::Object);
}

void JsonWriter::WriteStartObject(std::string_view name)
{
    implementation->WriteKey(name);
    implementation->OpenObject(Implementation::Bracket::Object);
}

void JsonWriter::WriteEndObject()
{
    implementation->Close(Implementation::Bracket::Object);
}

void JsonWriter::WriteValue(std::string_view name, std::string_view value)
{
    implementation->WriteKey(name);
    implementation->WriteText(value);
}

void JsonWriter::WriteValue(std::string_view name, const char* value)
{
    WriteValue(name, std::string_view(value));
}

void JsonWriter::WriteValue(std::string_view name, bool value)
{
    implementation->WriteKey(name);
    implementation->writer.Bool(value);
}

void JsonWriter::WriteValue(std::string_view name, int8 value)
{
    WriteValue(name, int32{value});
}

void JsonWriter::WriteValue(std::string_view name, uint8 value)
{
    WriteValue(name, uint32{value});
}

void JsonWriter::WriteValue(std::string_view name, int32 value)
{
    implementation->WriteKey(name);
    implementation->writer.Int(value);
}

void JsonWriter::WriteValue(std::string_view name, uint32 value)
{
    implementation->WriteKey(name);
    implementation->writer.Uint(value);
}

void JsonWriter::WriteValue(std::string_view name, int64 value)
{
    implementation->WriteKey(name);
    implementation->writer.Int64(value);
}

void JsonWriter::WriteValue(std::string_view name, uint64 value)
{
    implementation->WriteKey(name);
    implementation->writer.Uint64(value);
}

void JsonWriter::WriteValue(std::string_view name, double value)
{
    implementation->WriteKey(name);
    if (!std::isfinite(value))
    {
        implementation->writer.Null();
        return;
    }
    // Not the writer's own Double(): that is not always the shortest form, and 1 comes out as 1.0.
    const BasicString text = Text::Format("{}", value);
    implementation->writer.RawValue(text.data(), text.size(), rapidjson::kNumberType);
}

void JsonWriter::WriteSimpleArray(std::string_view name, const std::vector<uint8>& values)
{
    implementation->WriteKey(name);
    implementation->writer.StartArray();
    for (const uint8 value : values)
    {
        implementation->writer.Uint(value);
    }
    implementation->writer.EndArray();
}

void JsonWriter::WriteSimpleArray(std::string_view name, const std::vector<BasicString>& values)
{
    implementation->WriteKey(name);
    implementation->writer.StartArray();
    for (const BasicString& value : values)
    {
        implementation->WriteText(value);
    }
    implementation->writer.EndArray();
}

void JsonWriter::WriteStartComplexArray(std::string_view name)
{
    implementation->WriteKey(name);
    implementation->writer.StartArray();
    implementation->openBrackets.push_back(static_cast<char>(Implementation::Bracket::ComplexArray));
}

bool JsonWriter::TryWriteEndComplexArray()
{
    if (!implementation->IsInnermost(Implementation::Bracket::ComplexArray))
    {
        return false;
    }
    implementation->Close(Implementation::Bracket::ComplexArray);
    return true;
}

bool JsonWriter::TryWriteStartComplexArrayItem()
{
    if (!implementation->IsInnermost(Implementation::Bracket::ComplexArray))
    {
        return false;
    }
    implementation->OpenObject(Implementation::Bracket::ComplexArrayItem);
    return true;
}

void JsonWriter::WriteEndComplexArrayItem()
{
    implementation->Close(Implementation::Bracket::ComplexArrayItem);
}

std::string_view JsonWriter::GetText() const noexcept
{
    return {implementation->buffer.GetString(), implementation->buffer.GetSize()};
}

void JsonWriter::Clear()
{
    implementation->openBrackets.clear();
    implementation->buffer.Clear();
    implementation->writer.Reset(implementation->buffer);
}

} // namespace Oxa::System::Commons::Json
