#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Json/Internal/OperatorNewAllocator.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace Oxa::System::Commons::Json
{

IJsonSerializable::~IJsonSerializable() = default;

namespace
{

using Buffer = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, Internal::OperatorNewAllocator>;
using BaseWriter = rapidjson::Writer<Buffer, rapidjson::UTF8<>, rapidjson::UTF8<>, Internal::OperatorNewAllocator>;

/// RapidJSON's writer, and a short way for texts that need no escapes, as nearly all do not.
class TextWriter final : public BaseWriter
{
public:
    using BaseWriter::BaseWriter;

    /// Requires: plain text.
    void PlainText(std::string_view text)
    {
        Prefix(rapidjson::kStringType);
        char* const place = os_->Push(text.size() + 2);
        place[0] = '"';
        text.copy(place + 1, text.size());
        place[text.size() + 1] = '"';
    }

    /// Requires: names and values in turn, inside an object.
    void Members(std::string_view text)
    {
        // Counts as one name and its value.
        Prefix(rapidjson::kStringType);
        ++level_stack_.template Top<Level>()->valueCount;
        text.copy(os_->Push(text.size()), text.size());
    }
};

constexpr uint64 Repeat(uint8 byte) noexcept
{
    return byte * 0x0101'0101'0101'0101U;
}

/// Not 0 when one of the eight bytes is a control character, a quote, a backslash or no ASCII.
constexpr uint64 FindSpecial(uint64 bytes) noexcept
{
    // Of each byte the highest bit: a byte below a small number borrows it.
    const uint64 quotes = bytes ^ Repeat('"');
    const uint64 backslashes = bytes ^ Repeat('\\');
    const uint64 borrowed = ((bytes - Repeat(0x20)) & ~bytes) | ((quotes - Repeat(1)) & ~quotes) |
                            ((backslashes - Repeat(1)) & ~backslashes);
    return (borrowed | bytes) & Repeat(0x80);
}

/// Whether the text is written as it is.
bool IsPlain(std::string_view text) noexcept
{
    const auto load = [](const char* bytes, std::size_t count)
    {
        uint64 loaded = Repeat(' ');
        std::memcpy(&loaded, bytes, count);
        return loaded;
    };
    constexpr std::size_t step = sizeof(uint64);
    if (text.size() < step)
    {
        return FindSpecial(load(text.data(), text.size())) == 0;
    }
    uint64 found = 0;
    for (std::size_t offset = 0; offset < text.size() - step; offset += step)
    {
        found |= FindSpecial(load(text.data() + offset, step));
    }
    return (found | FindSpecial(load(text.data() + text.size() - step, step))) == 0;
}

} // namespace

struct JsonWriter::Implementation
{
    // Holds a usual response without growing in several steps.
    static constexpr std::size_t initialBytes = 2048;

    enum class Bracket : char
    {
        Object,
        ComplexArray,
        ComplexArrayItem
    };

    /// The text itself, or in `replaced` what is written instead of bytes that are no UTF-8.
    static std::string_view MakeValid(std::string_view text, BasicString& replaced)
    {
        if (Text::IsValidUtf8(text))
        {
            return text;
        }
        replaced = Text::ReplaceInvalidUtf8(text);
        return replaced;
    }

    void WriteKey(std::string_view name)
    {
        WriteText(name);
    }

    void WriteText(std::string_view text)
    {
        if (IsPlain(text))
        {
            writer.PlainText(text);
            return;
        }
        BasicString replaced;
        const std::string_view valid = MakeValid(text, replaced);
        writer.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
    }

    template <class T>
    void WriteNumber(T value)
    {
        if (!std::isfinite(value))
        {
            writer.Null();
            return;
        }
        // Not the writer's own Double(): that is not always the shortest form, and writes 1 as 1.0.
        fmt::memory_buffer text;
        fmt::format_to(std::back_inserter(text), "{}", value);
        writer.RawValue(text.data(), text.size(), rapidjson::kNumberType);
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

    Buffer buffer{nullptr, initialBytes};
    TextWriter writer{buffer};
    // A stack, as a string: short ones need no allocation.
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

void JsonWriter::WriteInteger(std::string_view name, int64 value)
{
    implementation->WriteKey(name);
    implementation->writer.Int64(value);
}

void JsonWriter::WriteInteger(std::string_view name, uint64 value)
{
    implementation->WriteKey(name);
    implementation->writer.Uint64(value);
}

void JsonWriter::WriteValue(std::string_view name, double value)
{
    implementation->WriteKey(name);
    implementation->WriteNumber(value);
}

void JsonWriter::WriteValue(std::string_view name, float value)
{
    implementation->WriteKey(name);
    implementation->WriteNumber(value);
}

void JsonWriter::WriteNull(std::string_view name)
{
    implementation->WriteKey(name);
    implementation->writer.Null();
}

void JsonWriter::WriteMembers(std::string_view members)
{
    implementation->writer.Members(members);
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

void JsonWriter::WriteSimpleArray(std::string_view name, const std::vector<float>& values)
{
    implementation->WriteKey(name);
    implementation->writer.StartArray();
    for (const float value : values)
    {
        implementation->WriteNumber(value);
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

} // namespace Oxa::System::Commons::Json
