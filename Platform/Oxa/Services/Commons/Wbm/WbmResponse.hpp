#pragma once

#include "Oxa/Services/Commons/Wbm/ResponseHeader.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm
{

/// A module's response to one request.
class WbmResponse final
{
public:
    WbmResponse(const ResponseHeader& header, const BasicString& body) : header(header), body(body) {}

    WbmResponse(const ResponseHeader& header, BasicString&& body) : header(header), body(std::move(body)) {}

    [[nodiscard]] const ResponseHeader& GetHeader() const noexcept
    {
        return header;
    }

    [[nodiscard]] const BasicString& GetBody() const noexcept
    {
        return body;
    }

private:
    ResponseHeader header;
    BasicString body;
};

} // namespace Oxa::Services::Commons::Wbm
