#include "Host/Http/ResponseWriter.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

namespace Oxa::Host::Http
{

std::string_view GetReasonPhrase(unsigned status) noexcept
{
    static constexpr std::pair<unsigned, std::string_view> phrases[] = {{200, "OK"},
                                                                        {201, "Created"},
                                                                        {204, "No Content"},
                                                                        {304, "Not Modified"},
                                                                        {308, "Permanent Redirect"},
                                                                        {400, "Bad Request"},
                                                                        {401, "Unauthorized"},
                                                                        {403, "Forbidden"},
                                                                        {404, "Not Found"},
                                                                        {405, "Method Not Allowed"},
                                                                        {409, "Conflict"},
                                                                        {413, "Content Too Large"},
                                                                        {414, "URI Too Long"},
                                                                        {415, "Unsupported Media Type"},
                                                                        {417, "Expectation Failed"},
                                                                        {421, "Misdirected Request"},
                                                                        {429, "Too Many Requests"},
                                                                        {431, "Request Header Fields Too Large"},
                                                                        {500, "Internal Server Error"},
                                                                        {502, "Bad Gateway"},
                                                                        {503, "Service Unavailable"},
                                                                        {504, "Gateway Timeout"}};
    const auto* const found = std::ranges::find(phrases, status, &std::pair<unsigned, std::string_view>::first);
    return found == std::end(phrases) ? std::string_view() : found->second;
}

void ResponseWriter::Write(const HttpResponse& response, const HttpRequest& request, bool keepsConnection,
                           std::string_view requestId)
{
    // All at once: a reallocation would leave a copy of cookie and token behind that is not wiped.
    constexpr std::size_t otherBytes = 448;
    text.clear();
    text.reserve(otherBytes + response.browserPolicy.size() + response.fields.size() + response.body.size());
    text.append("HTTP/1.1 ").append(std::to_string(response.status)).append(" ");
    text.append(GetReasonPhrase(response.status)).append("\r\n").append(GetDateField()).append(response.browserPolicy);
    text += fixedFields;
    if (!keepsConnection || request.isHttp10)
    {
        text += keepsConnection ? "Connection: keep-alive\r\n" : "Connection: close\r\n";
    }
    text += response.fields;
    if (!requestId.empty())
    {
        text.append("Oxa-Request-Id: ").append(requestId).append("\r\n");
    }
    if (!response.mediaType.empty())
    {
        text.append("Content-Type: ").append(response.mediaType).append("\r\n");
        text.append("Content-Length: ").append(std::to_string(response.body.size())).append("\r\n");
    }
    else if (response.status != 204 && response.status != 304)
    {
        text += "Content-Length: 0\r\n";
    }
    text += "\r\n";
    if (request.method != HttpMethod::Head)
    {
        text += response.body;
    }
}

ResponseWriter::~ResponseWriter()
{
    Clear();
}

void ResponseWriter::Clear() noexcept
{
    constexpr std::size_t maximumKeptBytes = std::size_t{16} * 1024;
    explicit_bzero(text.data(), text.size());
    text.clear();
    if (text.capacity() > maximumKeptBytes)
    {
        BasicString().swap(text);
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
