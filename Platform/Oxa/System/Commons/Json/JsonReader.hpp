#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <memory>
#include <string_view>

namespace Oxa::System::Commons::Json
{

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

/// What a document from outside may cost.
struct JsonReaderLimits
{
    std::size_t maximumBytes = std::size_t{64} * 1024;
    std::size_t maximumDepth = 16;
};

/// Reads one JSON document (RFC 8259, strictly, valid UTF-8 only) token by token. The whole document is checked before
/// the first token is handed out, so nobody acts on half of one.
/// Threads: one at a time.
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
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace Oxa::System::Commons::Json
