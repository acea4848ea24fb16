#pragma once

#include "Host/Http/HttpRequest.hpp"

#include <boost/beast/http/basic_parser.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Oxa::Host::Http
{

/// Parses one request and keeps what the host looks at as views into the connection's buffer: nothing is copied but the
/// body. One object per request; the header's bytes must stay where they are until the request is answered.
class RequestParser final : public boost::beast::http::basic_parser<true>
{
public:
    static constexpr std::uint32_t maximumHeaderBytes = 8192;
    static constexpr std::uint64_t maximumBodyBytes = 65536;

    /// `body` is borrowed, so that its storage serves one request after the other; it is cleared.
    explicit RequestParser(BasicString& body);

    /// Complete when `is_done()`.
    [[nodiscard]] const HttpRequest& GetRequest() const noexcept
    {
        return request;
    }

    [[nodiscard]] std::string_view GetExpectation() const noexcept
    {
        return expectation;
    }

    [[nodiscard]] bool IsHttp10() const noexcept
    {
        return isHttp10;
    }

private:
    using ErrorCode = boost::beast::error_code;
    using Text = boost::beast::string_view;

    void on_request_impl(boost::beast::http::verb verb, Text method, Text target, int version,
                         ErrorCode& error) override;
    void on_response_impl(int status, Text reason, int version, ErrorCode& error) override;
    void on_field_impl(boost::beast::http::field field, Text name, Text value, ErrorCode& error) override;
    void on_header_impl(ErrorCode& error) override;
    void on_body_init_impl(const boost::optional<std::uint64_t>& length, ErrorCode& error) override;
    std::size_t on_body_impl(Text text, ErrorCode& error) override;
    void on_chunk_header_impl(std::uint64_t size, Text extensions, ErrorCode& error) override;
    std::size_t on_chunk_body_impl(std::uint64_t remain, Text text, ErrorCode& error) override;
    void on_finish_impl(ErrorCode& error) override;

    [[nodiscard]] bool TrySetTarget(std::string_view target);
    [[nodiscard]] std::string_view* FindField(boost::beast::http::field field) noexcept;

    HttpRequest request;
    BasicString& body;
    std::string_view expectation;
    bool isHttp10 = false;
    bool isHeaderDone = false;
};

} // namespace Oxa::Host::Http
