#pragma once

#include "Oxa/Services/Commons/Wbm/ContentType.hpp"
#include "Oxa/System/Commons/Export.hpp"

#include <string_view>

namespace Oxa::Services::Commons::Wbm
{

/// What a body is. A value type.
class OXA_EXPORT ResponseHeader final
{
public:
    ResponseHeader(ContentType contentType, ContentSubtype contentSubtype, CharsetType charsetType) noexcept;

    [[nodiscard]] ContentType GetContentType() const noexcept;
    [[nodiscard]] ContentSubtype GetContentSubtype() const noexcept;
    [[nodiscard]] CharsetType GetCharsetType() const noexcept;

    /// The value of the HTTP header field Content-Type, for instance "application/json; charset=utf-8".
    [[nodiscard]] std::string_view GetMediaType() const noexcept;

private:
    ContentType contentType;
    ContentSubtype contentSubtype;
    CharsetType charsetType;
};

} // namespace Oxa::Services::Commons::Wbm
