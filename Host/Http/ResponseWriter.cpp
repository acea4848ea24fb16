#include "Host/Http/ResponseWriter.hpp"

#include <charconv>
#include <utility>

namespace Oxa::Host::Http
{

namespace
{

// Browsers must not store, frame, sniff or run responses of this interface.
constexpr std::string_view commonFields = "Cache-Control: no-store\r\n"
                                          "Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n"
                                          "Cross-Origin-Resource-Policy: same-origin\r\n"
                                          "Referrer-Policy: no-referrer\r\n"
                                          "X-Content-Type-Options: nosniff\r\n";

void AppendNumber(BasicString& output, std::size_t number)
{
    std::array<char, 24> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    output.append(digits.data(), result.ptr);
}

void AppendStatusLine(BasicString& output, unsigned status)
{
    if (status == 200)
    {
        output += "HTTP/1.1 200 OK\r\n";
        return;
    }
    output += "HTTP/1.1 ";
    AppendNumber(output, status);
    output += ' ';
    output += GetReasonPhrase(status);
    output += "\r\n";
}

} // namespace

std::string_view GetReasonPhrase(unsigned status) noexcept
{
    constexpr std::pair<unsigned, std::string_view> phrases[] = {{200, "OK"},
                                                                 {204, "No Content"},
                                                                 {400, "Bad Request"},
                                                                 {401, "Unauthorized"},
                                                                 {403, "Forbidden"},
                                                                 {404, "Not Found"},
                                                                 {405, "Method Not Allowed"},
                                                                 {413, "Content Too Large"},
                                                                 {414, "URI Too Long"},
                                                                 {415, "Unsupported Media Type"},
                                                                 {417, "Expectation Failed"},
                                                                 {431, "Request Header Fields Too Large"},
                                                                 {500, "Internal Server Error"},
                                                                 {502, "Bad Gateway"},
                                                                 {503, "Service Unavailable"},
                                                                 {504, "Gateway Timeout"}};
    for (const auto& [number, phrase] : phrases)
    {
        if (number == status)
        {
            return phrase;
        }
    }
    return {};
}

void ResponseWriter::Write(const HttpResponse& response, const HttpRequest& request, bool keepsConnection)
{
    text.clear();
    AppendStatusLine(text, response.status);
    text += GetDateField();
    text += commonFields;
    if (!keepsConnection)
    {
        text += "Connection: close\r\n";
    }
    else if (request.isHttp10)
    {
        text += "Connection: keep-alive\r\n";
    }
    text += response.fields;
    if (!response.mediaType.empty())
    {
        text += "Content-Type: ";
        text += response.mediaType;
        text += "\r\nContent-Length: ";
        AppendNumber(text, response.body.size());
        text += "\r\n";
    }
    else if (response.status != 204)
    {
        text += "Content-Length: 0\r\n";
    }
    text += "\r\n";
    if (request.method != HttpMethod::Head)
    {
        text += response.body;
    }
}

void ResponseWriter::Clear()
{
    constexpr std::size_t maximumKeptBytes = std::size_t{16} * 1024;
    text.clear();
    if (text.capacity() > maximumKeptBytes)
    {
        text.shrink_to_fit();
    }
}

std::string_view ResponseWriter::GetDateField()
{
    if (const std::time_t now = std::time(nullptr); now != dateSecond)
    {
        std::tm parts = {};
        gmtime_r(&now, &parts);
        // The process keeps the locale "C", in which these names are the ones that HTTP wants.
        dateLength = std::strftime(date.data(), date.size(), "Date: %a, %d %b %Y %H:%M:%S GMT\r\n", &parts);
        dateSecond = now;
    }
    return {date.data(), dateLength};
}

} // namespace Oxa::Host::Http
