#include "Oxa/System/Commons/Json/JsonReader.hpp"

#include "Oxa/System/Commons/Json/JsonException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cstring>
#include <vector>

namespace Oxa::System::Commons::Json
{

namespace
{

// Iterative: the nesting of a hostile document costs no stack.
constexpr unsigned parseFlags =
    rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag | rapidjson::kParseNumbersAsStringsFlag;

struct Token
{
    JsonTokenType type;
    bool boolean;
    std::size_t textOffset;
    std::size_t textLength;
};

/// Collects what RapidJSON reports; numbers arrive as texts.
class TokenCollector final : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TokenCollector>
{
public:
    explicit TokenCollector(std::size_t maximumDepth) : maximumDepth(maximumDepth) {}

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

    std::vector<Token> tokens;
    BasicString texts;

private:
    bool Add(JsonTokenType type, std::string_view text = {}, bool boolean = false)
    {
        tokens.push_back({type, boolean, texts.size(), text.size()});
        texts += text;
        return true;
    }

    std::size_t maximumDepth;
    std::size_t depth = 0;
};

} // namespace

struct JsonReader::Implementation
{
    Implementation() = default;
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    /// A document may hold a password.
    ~Implementation()
    {
        explicit_bzero(texts.data(), texts.size());
    }

    [[nodiscard]] const Token& GetCurrent() const noexcept
    {
        return tokens[position];
    }

    std::vector<Token> tokens;
    BasicString texts;
    std::size_t position = 0;
    bool isStarted = false;
};

JsonReader::JsonReader(std::string_view text, const JsonReaderLimits& limits)
    : implementation(std::make_unique<Implementation>())
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
    TokenCollector collector(limits.maximumDepth);
    // No text is longer than the document, so nothing is copied to and fro while it grows.
    collector.texts.reserve(text.size());
    const rapidjson::ParseResult result = rapidjson::Reader().Parse<parseFlags>(stream, collector);
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
    implementation->tokens = std::move(collector.tokens);
    implementation->tokens.push_back({JsonTokenType::End, false, 0, 0});
    implementation->texts = std::move(collector.texts);
    // The parser checks the bytes of the document, and that a high surrogate is followed by a low one, but writes an
    // escaped low surrogate that stands alone as if it were a character.
    if (!Text::IsValidUtf8(implementation->texts))
    {
        throw JsonException::Create("The JSON document is not valid: an escaped low surrogate stands alone");
    }
}

JsonReader::~JsonReader() = default;

JsonTokenType JsonReader::Read() noexcept
{
    auto& [tokens, texts, position, isStarted] = *implementation;
    if (isStarted && position + 1 < tokens.size())
    {
        ++position;
    }
    isStarted = true;
    return tokens[position].type;
}

JsonTokenType JsonReader::GetTokenType() const noexcept
{
    return implementation->GetCurrent().type;
}

std::string_view JsonReader::GetText() const noexcept
{
    const Token& token = implementation->GetCurrent();
    return std::string_view(implementation->texts).substr(token.textOffset, token.textLength);
}

bool JsonReader::GetBoolean() const noexcept
{
    return implementation->GetCurrent().boolean;
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
