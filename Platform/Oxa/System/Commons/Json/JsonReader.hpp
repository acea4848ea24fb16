#pragma once

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Oxa::System::Commons::Json
{

/// A text is no JSON document, or exceeds the reader's limits. The message names offset and cause.
class OXA_EXPORT JsonException final : public FormattedException<JsonException>
{
public:
    using FormattedException::FormattedException;
    ~JsonException() override;
};

enum class JsonTokenType : uint8
{
    StartObject,
    PropertyName,
    EndObject,
    StartArray,
    EndArray,
    String,
    Number,
    Boolean,
    Null,
    /// The document is complete.
    End
};

/// Bounds for an untrusted document.
struct JsonReaderLimits
{
    std::size_t maximumBytes = std::size_t{64} * 1024;
    std::size_t maximumDepth = 16;
};

/// Reads one JSON document (RFC 8259, strictly, valid UTF-8 only) token by token. The whole document is checked before
/// the first token is handed out. Threads: one at a time.
class OXA_EXPORT JsonReader final
{
public:
    /// Throws JsonException when the text is no JSON document within the limits.
    explicit JsonReader(std::string_view text, const JsonReaderLimits& limits = {});
    JsonReader(const JsonReader&) = delete;
    JsonReader& operator=(const JsonReader&) = delete;
    ~JsonReader();

    /// Moves to the next token, at first to the document's first one. After `End` it stays there.
    JsonTokenType Read() noexcept;

    [[nodiscard]] JsonTokenType GetTokenType() const noexcept;

    /// Of a property name or a string: the unescaped text, which may hold NUL. Of a number: as it is written.
    /// Valid as long as the reader.
    [[nodiscard]] std::string_view GetText() const noexcept;

    [[nodiscard]] bool GetBoolean() const noexcept;

    /// Passes over the value that the current token starts; on a property name, over the property's value.
    void Skip() noexcept;

private:
    class TokenCollector;

    struct Token
    {
        JsonTokenType type = JsonTokenType::End;
        bool boolean = false;
        std::size_t textOffset = 0;
        std::size_t textLength = 0;
    };

    JsonReader() = default;

    std::vector<Token> tokens;
    BasicString texts;
    std::size_t position = 0;
    bool isStarted = false;
};

} // namespace Oxa::System::Commons::Json
