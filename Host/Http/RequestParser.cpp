#include "Host/Http/RequestParser.hpp"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/beast/core/string.hpp>

#include <algorithm>
#include <cstdint>
#include <locale>

namespace Oxa::Host::Http
{

namespace http = boost::beast::http;

namespace
{

HttpMethod ToMethod(http::verb verb) noexcept
{
    switch (verb)
    {
    case http::verb::get:
        return HttpMethod::Get;
    case http::verb::head:
        return HttpMethod::Head;
    case http::verb::post:
        return HttpMethod::Post;
    case http::verb::delete_:
        return HttpMethod::Delete;
    default:
        return HttpMethod::Other;
    }
}

std::string_view ToView(boost::beast::string_view text) noexcept
{
    return {text.data(), text.size()};
}

} // namespace

RequestParser::RequestParser(BasicString& body) : body(body)
{
    body.clear();
    header_limit(maximumHeaderBytes);
    body_limit(maximumBodyBytes);
}

void RequestParser::on_request_impl(http::verb verb, Text /*method*/, Text target, int version, ErrorCode& error)
{
    request.method = ToMethod(verb);
    isHttp10 = version < 11;
    if (!TrySetTarget(ToView(target)))
    {
        error = http::error::bad_target;
    }
}

/// A path with or without a query, also behind "http://…", which proxies write and where the path may be missing.
bool RequestParser::TrySetTarget(std::string_view target)
{
    constexpr std::string_view scheme = "http://";
    const bool isAbsolute = boost::algorithm::istarts_with(target, scheme, std::locale::classic());
    if (isAbsolute)
    {
        target.remove_prefix(std::min(target.find_first_of("/?", scheme.size()), target.size()));
    }
    const std::size_t question = target.find('?');
    request.path = target.substr(0, question);
    if (isAbsolute && request.path.empty())
    {
        request.path = "/";
    }
    request.query = question == std::string_view::npos ? std::string_view() : target.substr(question + 1);
    return request.path.starts_with('/');
}

void RequestParser::on_response_impl(int /*status*/, Text /*reason*/, int /*version*/, ErrorCode& /*error*/) {}

std::string_view* RequestParser::FindField(http::field field) noexcept
{
    switch (field)
    {
    case http::field::host:
        return &request.host;
    case http::field::authorization:
        return &request.authorization;
    case http::field::cookie:
        return &request.cookie;
    case http::field::content_type:
        return &request.contentType;
    case http::field::origin:
        return &request.origin;
    case http::field::expect:
        return &expectation;
    default:
        return nullptr;
    }
}

void RequestParser::on_field_impl(http::field field, Text name, Text value, ErrorCode& error)
{
    if (isHeaderDone)
    {
        // A trailer behind a chunked body: nothing of it counts.
        return;
    }
    // The last coding decides where the body ends; one that is not understood must not be guessed at. HTTP/1.0 has
    // none.
    if (field == http::field::transfer_encoding && (isHttp10 || !boost::beast::iequals(value, "chunked")))
    {
        error = http::error::bad_transfer_encoding;
        return;
    }
    std::string_view* kept = FindField(field);
    if (kept == nullptr && boost::beast::iequals(name, "Sec-Fetch-Site"))
    {
        kept = &request.fetchSite;
    }
    if (kept == nullptr)
    {
        return;
    }
    // A folded value lies in a buffer of the parser's own, which ends with this call. None of these fields may be
    // folded or come twice.
    const auto distance =
        reinterpret_cast<std::uintptr_t>(value.data()) - reinterpret_cast<std::uintptr_t>(name.data());
    if (kept->data() != nullptr || (!value.empty() && distance > maximumHeaderBytes))
    {
        error = http::error::bad_value;
        return;
    }
    *kept = value.empty() ? std::string_view("") : ToView(value);
}

void RequestParser::on_header_impl(ErrorCode& error)
{
    isHeaderDone = true;
    if (!isHttp10 && request.host.data() == nullptr)
    {
        error = http::error::bad_field;
    }
}

void RequestParser::on_body_init_impl(const boost::optional<std::uint64_t>& /*length*/, ErrorCode& /*error*/) {}

std::size_t RequestParser::on_body_impl(Text text, ErrorCode& /*error*/)
{
    body.append(text.data(), text.size());
    return text.size();
}

void RequestParser::on_chunk_header_impl(std::uint64_t /*size*/, Text /*extensions*/, ErrorCode& /*error*/) {}

std::size_t RequestParser::on_chunk_body_impl(std::uint64_t /*remain*/, Text text, ErrorCode& /*error*/)
{
    body.append(text.data(), text.size());
    return text.size();
}

void RequestParser::on_finish_impl(ErrorCode& /*error*/)
{
    request.body = body;
}

} // namespace Oxa::Host::Http
