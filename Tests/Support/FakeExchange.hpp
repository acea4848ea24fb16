#pragma once

#include "Host/Http/IHttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>

namespace Oxa::Tests::Support
{

/// Keeps the answer.
class FakeExchange final : public Oxa::Host::Http::IHttpExchange
{
public:
    [[nodiscard]] const Oxa::Host::Http::HttpRequest& GetRequest() const noexcept override
    {
        return request;
    }

    [[nodiscard]] BasicString GetClientAddress() const override
    {
        return "192.0.2.1";
    }

    void Send(const Oxa::Host::Http::HttpAnswer& answer, std::string_view answerBody) override
    {
        status = answer.status;
        body = answerBody;
    }

    void Resume() override
    {
        isResumed = true;
    }

    Oxa::Host::Http::HttpRequest request;
    unsigned status = 0;
    BasicString body;
    std::atomic<bool> isResumed = false;
};

} // namespace Oxa::Tests::Support
