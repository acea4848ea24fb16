#pragma once

#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm
{

/// The parameters of a request.
class RequestParams final
{
public:
    RequestParams() = default;

    explicit RequestParams(RequestQuery query, BasicString body = {}) : query(std::move(query)), body(std::move(body))
    {
    }

    [[nodiscard]] const RequestQuery& GetQuery() const noexcept
    {
        return query;
    }

    /// As received: untrusted, any bytes.
    [[nodiscard]] const BasicString& GetBody() const noexcept
    {
        return body;
    }

private:
    RequestQuery query;
    BasicString body;
};

} // namespace Oxa::Services::Commons::Wbm
