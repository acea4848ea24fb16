#include "Oxa/Services/Commons/Wbm/ResponseHeader.hpp"

namespace Oxa::Services::Commons::Wbm
{

ResponseHeader::ResponseHeader(ContentType contentType, ContentSubtype contentSubtype, CharsetType charsetType) noexcept
    : contentType(contentType), contentSubtype(contentSubtype), charsetType(charsetType)
{
}

ContentType ResponseHeader::GetContentType() const noexcept
{
    return contentType;
}

ContentSubtype ResponseHeader::GetContentSubtype() const noexcept
{
    return contentSubtype;
}

CharsetType ResponseHeader::GetCharsetType() const noexcept
{
    return charsetType;
}

std::string_view ResponseHeader::GetMediaType() const noexcept
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

} // namespace Oxa::Services::Commons::Wbm
