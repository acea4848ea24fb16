#include "Host/Http/AnswerWriter.hpp"

#include <array>
#include <charconv>
#include <cstddef>
#include <ctime>
#include <utility>

namespace Oxa::Host::Http
{

namespace
{

// Nothing of this interface is meant to be stored, framed, sniffed or run.
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

/// The header field Date, made anew once a second.
std::string_view GetDateField()
{
    thread_local std::time_t second = 0;
    thread_local std::array<char, 64> text;
    thread_local std::size_t length = 0;
    if (const std::time_t now = std::time(nullptr); now != second)
    {
        std::tm parts = {};
        gmtime_r(&now, &parts);
        // The process keeps the locale "C", in which these names are the ones that HTTP wants.
        length = std::strftime(text.data(), text.size(), "Date: %a, %d %b %Y %H:%M:%S GMT\r\n", &parts);
        second = now;
    }
    return {text.data(), length};
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

void AppendConnectionField(BasicString& output, const AnswerForm& form)
{
    if (!form.keepsConnection)
    {
        output += "Connection: close\r\n";
    }
    else if (form.isHttp10)
    {
        output += "Connection: keep-alive\r\n";
    }
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

void WriteAnswer(BasicString& output, const HttpAnswer& answer, std::string_view body, const AnswerForm& form)
{
    output.clear();
    AppendStatusLine(output, answer.status);
    output += GetDateField();
    output += commonFields;
    AppendConnectionField(output, form);
    output += answer.fields;
    if (!answer.mediaType.empty())
    {
        output += "Content-Type: ";
        output += answer.mediaType;
        output += "\r\nContent-Length: ";
        AppendNumber(output, body.size());
        output += "\r\n";
    }
    else if (answer.status != 204)
    {
        output += "Content-Length: 0\r\n";
    }
    output += "\r\n";
    if (!form.isHead)
    {
        output += body;
    }
}

} // namespace Oxa::Host::Http
