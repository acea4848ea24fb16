#pragma once

#include "Oxa/Services/Commons/Wbm/ContentType.hpp"

#include <string_view>

namespace Oxa::Services::Commons::Wbm
{

/// The media type of a body. A value type.
class ResponseHeader final
{
public:
    constexpr ResponseHeader(ContentType contentType, ContentSubtype contentSubtype, CharsetType charsetType) noexcept
        : contentType(contentType), contentSubtype(contentSubtype), charsetType(charsetType)
    {
    }

    [[nodiscard]] constexpr ContentType GetContentType() const noexcept
    {
        return contentType;
    }

    [[nodiscard]] constexpr ContentSubtype GetContentSubtype() const noexcept
    {
        return contentSubtype;
    }

    [[nodiscard]] constexpr CharsetType GetCharsetType() const noexcept
    {
        return charsetType;
    }

    /// The value of the HTTP header field Content-Type, for instance "application/json; charset=utf-8".
    [[nodiscard]] constexpr std::string_view GetMediaType() const noexcept
    {
        const bool isUtf8 = charsetType == CharsetType::Utf8;
        if (contentType == ContentType::Application && contentSubtype == ContentSubtype::Json)
        {
            return isUtf8 ? "application/json; charset=utf-8" : "application/json";
        }
        if (contentType == ContentType::Text && contentSubtype == ContentSubtype::Plain)
        {
            return isUtf8 ? "text/plain; charset=utf-8" : "text/plain";
        }
        return "application/octet-stream";
    }

private:
    ContentType contentType;
    ContentSubtype contentSubtype;
    CharsetType charsetType;
};

} // namespace Oxa::Services::Commons::Wbm
