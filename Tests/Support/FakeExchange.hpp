#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>

namespace Oxa::Tests::Support
{

/// Keeps the response.
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

    [[nodiscard]] bool IsConnected() noexcept override
    {
        return isConnected;
    }

    void SetSession(uint64 sessionId) noexcept override
    {
        clientId = sessionId;
    }

    [[nodiscard]] uint64 GetClientId() const noexcept override
    {
        return clientId;
    }

    [[nodiscard]] std::string_view GetRequestId() override
    {
        return "0123456789abcdef";
    }

    void Send(const Oxa::Host::Http::HttpResponse& response) override
    {
        status = response.status;
        body = response.body;
        fields = response.fields;
    }

    void Resume() override
    {
        isResumed = true;
    }

    Oxa::Host::Http::HttpRequest request;
    unsigned status = 0;
    BasicString body;
    BasicString fields;
    std::atomic<bool> isResumed = false;
    std::atomic<bool> isConnected = true;
    uint64 clientId = 0;
};

} // namespace Oxa::Tests::Support
