#include "Oxa/System/Commons/Json/JsonReader.hpp"

#include "Oxa/System/Commons/Json/Internal/OperatorNewAllocator.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cstring>

namespace Oxa::System::Commons::Json
{

namespace
{

using Reader = rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, Internal::OperatorNewAllocator>;

// Iterative: the nesting of a hostile document costs no stack.
constexpr unsigned parseFlags =
    rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag | rapidjson::kParseNumbersAsStringsFlag;

} // namespace

JsonException::~JsonException() = default;

/// Collects what RapidJSON reports; numbers arrive as texts.
class JsonReader::TokenCollector final : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TokenCollector>
{
public:
    TokenCollector(JsonReader& reader, std::size_t maximumDepth) : reader(reader), maximumDepth(maximumDepth) {}

    bool Null()
    {
        return Add(JsonTokenType::Null);
    }

    bool Bool(bool value)
    {
        return Add(JsonTokenType::Boolean, {}, value);
    }

    bool RawNumber(const char* value, rapidjson::SizeType length, bool /*copy*/)
    {
        return Add(JsonTokenType::Number, {value, length});
    }

    bool String(const char* value, rapidjson::SizeType length, bool /*copy*/)
    {
        return Add(JsonTokenType::String, {value, length});
    }

    bool Key(const char* value, rapidjson::SizeType length, bool /*copy*/)
    {
        return Add(JsonTokenType::PropertyName, {value, length});
    }

    bool StartObject()
    {
        return ++depth <= maximumDepth && Add(JsonTokenType::StartObject);
    }

    bool EndObject(rapidjson::SizeType /*memberCount*/)
    {
        --depth;
        return Add(JsonTokenType::EndObject);
    }

    bool StartArray()
    {
        return ++depth <= maximumDepth && Add(JsonTokenType::StartArray);
    }

    bool EndArray(rapidjson::SizeType /*elementCount*/)
    {
        --depth;
        return Add(JsonTokenType::EndArray);
    }

private:
    bool Add(JsonTokenType type, std::string_view text = {}, bool boolean = false)
    {
        reader.tokens.push_back({type, boolean, reader.texts.size(), text.size()});
        reader.texts += text;
        return true;
    }

    JsonReader& reader;
    const std::size_t maximumDepth;
    std::size_t depth = 0;
};

// Delegates, so that the destructor also clears what was read of a document that is refused.
JsonReader::JsonReader(std::string_view text, const JsonReaderLimits& limits) : JsonReader()
{
    if (text.size() > limits.maximumBytes)
    {
        throw JsonException::Create("The JSON document has {0} bytes, {1} are allowed", text.size(),
                                    limits.maximumBytes);
    }
    // The parser takes a NUL for the end of the text and would not look at what follows.
    if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos)
    {
        throw JsonException::Create("The JSON document is not valid at offset {0}: NUL byte", nul);
    }
    rapidjson::MemoryStream memory(text.data(), text.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(memory);
    TokenCollector collector(*this, limits.maximumDepth);
    // No text is longer than the document, so that no copy of a password stays behind in a buffer that grew.
    texts.reserve(text.size());
    const rapidjson::ParseResult result = Reader().Parse<parseFlags>(stream, collector);
    if (result.Code() == rapidjson::kParseErrorTermination)
    {
        throw JsonException::Create("The JSON document is nested deeper than {0} levels at offset {1}",
                                    limits.maximumDepth, result.Offset());
    }
    if (result.IsError())
    {
        throw JsonException::Create("The JSON document is not valid at offset {0}: {1}", result.Offset(),
                                    rapidjson::GetParseError_En(result.Code()));
    }
    tokens.push_back({});
    // The parser checks the bytes of the document, and that a high surrogate is followed by a low one, but accepts an
    // escaped low surrogate that stands alone.
    if (!Text::IsValidUtf8(texts))
    {
        throw JsonException::Create("The JSON document is not valid: an escaped low surrogate stands alone");
    }
}

/// A document may hold a password.
JsonReader::~JsonReader()
{
    explicit_bzero(texts.data(), texts.size());
}

JsonTokenType JsonReader::Read() noexcept
{
    if (isStarted && position + 1 < tokens.size())
    {
        ++position;
    }
    isStarted = true;
    return tokens[position].type;
}

JsonTokenType JsonReader::GetTokenType() const noexcept
{
    return tokens[position].type;
}

std::string_view JsonReader::GetText() const noexcept
{
    const Token& token = tokens[position];
    return std::string_view(texts).substr(token.textOffset, token.textLength);
}

bool JsonReader::GetBoolean() const noexcept
{
    return tokens[position].boolean;
}

void JsonReader::Skip() noexcept
{
    if (GetTokenType() == JsonTokenType::PropertyName)
    {
        Read();
    }
    if (GetTokenType() == JsonTokenType::EndObject || GetTokenType() == JsonTokenType::EndArray)
    {
        return;
    }
    std::size_t depth = 0;
    while (true)
    {
        const JsonTokenType type = GetTokenType();
        depth += type == JsonTokenType::StartObject || type == JsonTokenType::StartArray ? 1U : 0U;
        depth -= type == JsonTokenType::EndObject || type == JsonTokenType::EndArray ? 1U : 0U;
        if (depth == 0 || type == JsonTokenType::End)
        {
            return;
        }
        Read();
    }
}

} // namespace Oxa::System::Commons::Json
