#include "Host/Http/RequestReader.hpp"

#include "Support/ReadRequests.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace Oxa::Host::Http
{

using Tests::Support::ReadRequests;

namespace
{

using Cases = std::vector<std::pair<BasicString, BasicString>>;

const BasicString malformed = "malformed-request";
const BasicString chunked = "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n";
const BasicString chunkedWithSession =
    "POST / HTTP/1.1\r\nHost: h\r\nCookie: session\r\nTransfer-Encoding: chunked\r\n\r\n";

BasicString Repeat(std::string_view text, int times)
{
    BasicString result;
    while (times-- > 0)
    {
        result += text;
    }
    return result;
}

/// Whole, byte by byte, and, when that does not take long, split at every place.
void ExpectRequests(const Cases& cases, const BasicString& prefix = {}, const BasicString& suffix = {})
{
    for (const auto& [text, expected] : cases)
    {
        const BasicString bytes = BasicString(prefix).append(text).append(suffix);
        const auto shown = testing::PrintToString(bytes.substr(0, 300));
        EXPECT_EQ(ReadRequests(bytes, bytes.size(), bytes.size()), expected) << shown;
        EXPECT_EQ(ReadRequests(bytes, 1, 1), expected) << "byte by byte: " << shown;
        for (std::size_t first = 1; first < bytes.size() && bytes.size() < 1000; ++first)
        {
            ASSERT_EQ(ReadRequests(bytes, first, bytes.size()), expected) << "split at " << first << ": " << shown;
        }
    }
}

TEST(ReadingRequests, TakesAbsoluteTargetsOfTheConnectionsSchemeOnly)
{
    const Host::Configuration::RequestLimits limits;
    const Host::Http::SessionCheck hasSession;
    for (const bool isSecure : {false, true})
    {
        for (const bool isTargetSecure : {false, true})
        {
            RequestReader reader(limits, hasSession, isSecure);
            const BasicString request =
                BasicString(isTargetSecure ? "GET https://b/ HTTP/1.1" : "GET http://b/ HTTP/1.1") +
                "\r\nHost: h\r\n\r\n";
            std::ranges::copy(request, reader.GetSpace().begin());
            reader.Add(request.size());
            const bool isTaken = reader.Parse() == RequestReader::Progress::Complete;
            EXPECT_EQ(isTaken, isSecure == isTargetSecure) << request;
            EXPECT_EQ(reader.GetRequest().isSecure, isSecure);
        }
    }
}

TEST(ReadingRequests, TakesTheRequestLineToTheLetter)
{
    ExpectRequests({{"GET /a/b?c?d=%20 HTTP/1.1", "GET /a/b?c?d=%20 host='h'; "},
                    {"\r\n\r\nHEAD / HTTP/1.1", "HEAD / host='h'; "},
                    {"GET /? HTTP/1.9", "GET / host='h'; "},
                    {"GET / HTTP/1.0", "GET / host='h' 1.0 close; "},
                    {"get /\"<>[]^`{|}\\%zz HTTP/1.1", "other /\"<>[]^`{|}\\%zz host='h'; "},
                    {"OPTIONS * HTTP/1.1", "other * host='h'; "},
                    {"GET HTTP://b:80/x?y HTTP/1.1", "GET /x?y host='b:80'; "},
                    {"GET http://b?y HTTP/1.1", "GET /?y host='b'; "},
                    {"GET http://[::1] HTTP/1.1", "GET / host='[::1]'; "},
                    {"GET * HTTP/1.1", malformed},
                    {"GET ?x HTTP/1.1", malformed},
                    {"GET x HTTP/1.1", malformed},
                    {"GET http:///x HTTP/1.1", malformed},
                    {"GET http://:80/x HTTP/1.1", malformed},
                    {"GET http://u@b/x HTTP/1.1", malformed},
                    {"GET http://[::1/x HTTP/1.1", malformed},
                    {"GET https://b/x HTTP/1.1", malformed},
                    {"CONNECT b:80 HTTP/1.1", malformed},
                    {"GET /#x HTTP/1.1", malformed},
                    {"GET /\xC3\xA9 HTTP/1.1", malformed},
                    {"GET /\x7F HTTP/1.1", malformed},
                    {"GET /\tx HTTP/1.1", malformed},
                    {"GET /x ", malformed},
                    {"GET /x", malformed},
                    {"GET", malformed},
                    {"GET  /x HTTP/1.1", malformed},
                    {"GET /x  HTTP/1.1", malformed},
                    {"GET /x HTTP/1.1 ", malformed},
                    {" GET /x HTTP/1.1", malformed},
                    {"\rGET /x HTTP/1.1", malformed},
                    {"\nGET /x HTTP/1.1", malformed},
                    {"GET /x HTTP/1.1\r", malformed},
                    {"G(T /x HTTP/1.1", malformed},
                    {"GET /x HTTP/2.0", malformed},
                    {"GET /x HTTP/0.9", malformed},
                    {"GET /x HTTP/1.x", malformed},
                    {"GET /x HTTP/1.11", malformed},
                    {"GET /x http/1.1", malformed}},
                   "", "\r\nHost: h\r\n\r\n");
    // At once, without waiting for the end of a line that may never come.
    ExpectRequests({{BasicString("\x16\x03\x01\x02\x00", 5), malformed}, {"GET /x \r\n", malformed}});
}

TEST(ReadingRequests, ChecksTheHost)
{
    Cases cases = {{"", "GET /; "}};
    for (const char* host : {"h", "h:", "h:80", ":80", "a.b-c_d~e", "10.0.0.1:1", "%c3%A9", "a,b", "[::1]", "[::1]:80",
                             "[2001:db8::10.0.0.1]"})
    {
        cases.emplace_back(host, BasicString("GET / host='") + host + "'; ");
    }
    for (const char* host :
         {"user@h",    "h/path", "h?q",  "h#f",   "a, b",      "a b", "[::1", "::1",  "[::1]x", "[]",   "[::1%25lo]",
          "[1::2::3]", "a:8x",   "a:-1", "a:1:2", "h\xC3\xA9", "%c",  "%zz",  "a\\b", "a\"b",   "a\x7F"})
    {
        cases.emplace_back(host, malformed);
    }
    ExpectRequests(cases, "GET / HTTP/1.1\r\nHost:\t ", " \r\n\r\n");
    ExpectRequests({{"GET / HTTP/1.1\r\n\r\n", malformed},
                    {"GET http://b/ HTTP/1.1\r\n\r\n", malformed},
                    {"GET http://b/ HTTP/1.1\r\nHost: a@c\r\n\r\n", malformed},
                    {"GET / HTTP/1.1\r\nHost: a\r\nHost: a\r\n\r\n", malformed},
                    {"GET / HTTP/1.0\r\n\r\n", "GET / 1.0 close; "},
                    {"GET / HTTP/1.0\r\nHost: a@c\r\n\r\n", malformed}});
}

TEST(ReadingRequests, TakesFieldsToTheLetter)
{
    ExpectRequests({{"X:\r\nX: \t\r\ncookie:a=\xFF\tb \r\n", "GET / host='h' cookie='a=\xFF\tb'; "},
                    {"ORIGIN:o\r\nSec-fetch-site:s\r\nAuthorization:a\r\nContent-Type:t\r\nContent-Typ:u\r\n",
                     "GET / host='h' authorization='a' type='t' origin='o' site='s'; "},
                    {"Connection: x, Close ,y\r\n", "GET / host='h' close; "},
                    {"Connection: closed\r\n", "GET / host='h'; "},
                    {"Connection: keep-alive\r\nConnection: close\r\n", "GET / host='h' close; "},
                    {"Expect: 100-Continue\r\n", "GET / host='h' continue; "},
                    {"Expect:\r\n", "GET / host='h'; "},
                    {"Expect: miracles\r\n", "unknown-expectation"},
                    {"Expect: 100-continue, miracles\r\n", "unknown-expectation"},
                    {"Cookie: a\r\n b\r\n", malformed},
                    {"X: a\r\n\tb\r\n", malformed},
                    {" X: a\r\n", malformed},
                    {"X : a\r\n", malformed},
                    {": a\r\n", malformed},
                    {"X\r\n", malformed},
                    {"X: a\n", malformed},
                    {"X: a\rb\r\n", malformed},
                    {"X: a\r\r\n", malformed},
                    {BasicString("X: \0\r\n", 6), malformed},
                    {"X: a\x7F\r\n", malformed},
                    {"X\xC3\xA9: a\r\n", malformed},
                    {"Cookie: a\r\nCookie:\r\n", malformed},
                    {"Origin:\r\nOrigin: a\r\n", malformed},
                    {"Content-Length: 0\r\nContent-Length: 0\r\n", malformed},
                    {"Authorization: a\r\nAuthorization: a\r\n", malformed}},
                   "GET / HTTP/1.1\r\nHost: h\r\n", "\r\n");
    ExpectRequests({{"Connection: Keep-Alive, x\r\n", "GET / 1.0; "},
                    {"Connection: keep-alive, close\r\n", "GET / 1.0 close; "},
                    {"Expect: miracles\r\n", "GET / 1.0 close; "},
                    {"Expect: 100-continue\r\n", "GET / 1.0 close; "}},
                   "GET / HTTP/1.0\r\n", "\r\n");
}

TEST(ReadingRequests, FindsTheEndOfTheBodyOrRefuses)
{
    const BasicString next = "GET /n HTTP/1.1\r\nHost: h\r\n\r\n";
    const BasicString found = "POST / host='h' body='abc'; GET /n host='h'; ";
    Cases cases = {{"Content-Length: 3\r\n\r\nabc", found},
                   {"CONTENT-LENGTH:\t003 \r\n\r\nabc\r\n", found},
                   {"Content-Length: 0\r\n\r\n", "POST / host='h'; GET /n host='h'; "},
                   {"\r\n", "POST / host='h'; GET /n host='h'; "},
                   {"Content-Length: 65537\r\n\r\n", "body-too-large"},
                   {"Content-Length: 99999999999999999999999\r\n\r\n", "body-too-large"},
                   {"Transfer-Encoding: ChunkeD\r\n\r\n3\r\nabc\r\n0\r\n\r\n", found}};
    for (const char* length : {"", "+3", "-3", "0x3", "3x", "3 3", "3, 3", "3,", ",3", "3;x", "3.0", "\"3\"", "a"})
    {
        cases.emplace_back(BasicString("Content-Length: ") + length + "\r\n\r\nabc", malformed);
    }
    for (const char* coding : {"", "gzip", "identity", "chunked, chunked", "gzip, chunked", "chunked, gzip", "chunked,",
                               ",chunked", "chunked;x", "x-chunked", "\"chunked\"", "\vchunked"})
    {
        cases.emplace_back(BasicString("Transfer-Encoding: ") + coding + "\r\n\r\n0\r\n\r\n", malformed);
    }
    for (const char* fields :
         {"Content-Length: 3\r\nContent-Length: 3", "Content-Length: 3\r\nContent-Length: 4",
          "Content-Length: 3\r\nTransfer-Encoding: chunked", "Transfer-Encoding: chunked\r\nContent-Length: 3",
          "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked",
          "Transfer-Encoding: gzip\r\nTransfer-Encoding: chunked", "Transfer-Encoding:\r\n chunked",
          "Transfer-Encoding : chunked", "Content-Length: \r\n 3"})
    {
        cases.emplace_back(BasicString(fields) + "\r\n\r\n0\r\n\r\n", malformed);
    }
    ExpectRequests(cases, "POST / HTTP/1.1\r\nHost: h\r\n", next);
    ExpectRequests({{"POST / HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", malformed},
                    {"POST / HTTP/1.0\r\nContent-Length: 1\r\n\r\na", "POST / body='a' 1.0 close; "}});
}

TEST(ReadingRequests, PutsChunksTogetherOrRefuses)
{
    const BasicString all = "POST / host='h' body='abcdef'; ";
    ExpectRequests({{"6\r\nabcdef\r\n0\r\n\r\n", all},
                    {"2\r\nab\r\n000000000000000000004;x=\"y;z\"\r\ncdef\r\n000 ;x\r\nAuthorization: a\r\n\r\n", all},
                    {"6\t;x\r\nabcdef\r\n0\r\nHost: b\r\nContent-Length: 5\r\nTransfer-Encoding: gzip\r\nCookie: a\r\n"
                     "Connection: close\r\nExpect: miracles\r\n\r\n",
                     all},
                    {"0\r\n\r\n", "POST / host='h'; "},
                    {"6\r\nabcdef\r\n0\r\n", ""},
                    {"10001\r\n", "body-too-large"},
                    {"1\r\na\r\n10000\r\n", "body-too-large"},
                    {"10000000000000001\r\na", "body-too-large"},
                    {"0\r\nX\r\n\r\n", malformed},
                    {"0\r\n X: a\r\n\r\n", malformed},
                    {"0\r\nX: a\r\n b\r\n\r\n", malformed},
                    {"0\r\nX: a\n\r\n", malformed},
                    {"0\r\n\n", malformed},
                    {"0\n\r\n", malformed},
                    {"1\r\nabc\r\n", malformed},
                    {"1\r\na\n0\r\n\r\n", malformed},
                    {"1\r\na\r\r\n", malformed},
                    {"1\r\n\r\n0\r\n\r\n", malformed},
                    {"1\na\r\n0\r\n\r\n", malformed},
                    {"1;\ra\r\na\r\n0\r\n\r\n", malformed},
                    {"1;\na\r\na\r\n0\r\n\r\n", malformed}},
                   chunked);
    Cases sizes;
    for (const char* size :
         {"", " ", "+1", "-1", " 1", "1 ", "0x1", "x", "g", "1,1", "1 1", "1.", "1\v;x", ";x", "\"1\""})
    {
        sizes.emplace_back(size, malformed);
    }
    ExpectRequests(sizes, chunked, "\r\na\r\n0\r\n\r\n");
}

TEST(ReadingRequests, KeepsItsLimitsToTheByte)
{
    const BasicString end = " HTTP/1.1\r\nHost: h\r\n\r\n";
    const auto makeTarget = [](std::size_t lineBytes)
    {
        return '/' + BasicString(lineBytes - 16, 'x');
    };
    const auto makeField = [](std::size_t headerBytes)
    {
        return "GET / HTTP/1.1\r\nHost: h\r\nX:" + BasicString(headerBytes - 31, 'x') + "\r\n\r\n";
    };
    const BasicString longest = makeTarget(8192 - 11);
    ExpectRequests({{"GET " + longest + end, "GET " + longest + " host='h'; "},
                    {"GET " + longest + 'x' + end, "header-too-large"},
                    {"GET " + makeTarget(8193) + end, "target-too-long"},
                    {"GET /" + BasicString(20000, 'x'), "target-too-long"},
                    {"GET / HTTP/1.1\r\nX: " + BasicString(20000, 'x'), "header-too-large"},
                    {makeField(8192), "GET / host='h'; "},
                    {makeField(8193), "header-too-large"},
                    {"GET / HTTP/1.1\r\nHost: h\r\n" + Repeat("A:\r\n", 63) + "\r\n", "GET / host='h'; "},
                    {"GET / HTTP/1.1\r\nHost: h\r\n" + Repeat("A:\r\n", 64) + "\r\n", "header-too-large"}});
    ExpectRequests({{chunkedWithSession + Repeat("1;0123456789abcd\r\nb\r\n", 65536) + "0\r\n\r\n",
                     "POST / host='h' cookie='session' body='" + BasicString(65536, 'b') + "'; "},
                    {chunkedWithSession + Repeat("1;0123456789abcde\r\nb\r\n", 65536), "header-too-large"},
                    {chunked + "1;" + BasicString(20000, 'x'), "header-too-large"},
                    {chunked + "0\r\n" + Repeat("A:\r\n", 62) + "\r\n", "POST / host='h'; "},
                    {chunked + "0\r\n" + Repeat("A:\r\n", 63) + "\r\n", "header-too-large"},
                    {chunked + "0\r\nA:" + BasicString(9000, 'x') + "\r\n\r\n", "header-too-large"}});
}

TEST(ReadingRequests, TakesLongBodiesOnlyWithASession)
{
    const auto post = [](const char* cookie, std::size_t bytes)
    {
        return BasicString("POST / HTTP/1.1\r\nHost: h\r\nCookie: ") + cookie +
               "\r\nContent-Length: " + std::to_string(bytes) + "\r\n\r\n" + BasicString(bytes, 'b');
    };
    const auto found = [](const char* cookie, std::size_t bytes)
    {
        return BasicString("POST / host='h'") + (*cookie == 0 ? "" : BasicString(" cookie='") + cookie + "'") +
               " body='" + BasicString(bytes, 'b') + "'; ";
    };
    // 0xFFF and one more, one and one more.
    const BasicString most = "fff\r\n" + BasicString(4095, 'b') + "\r\n";
    const BasicString one = "1\r\nb\r\n";
    const BasicString end = "0\r\n\r\n";
    ExpectRequests(
        {{post("", 4095), found("", 4095)},
         {post("", 4096), found("", 4096)},
         {post("", 4097), "body-too-large"},
         {post("other", 4097), "body-too-large"},
         {post("session", 4097), found("session", 4097)},
         {post("session", 65535), found("session", 65535)},
         {post("session", 65536), found("session", 65536)},
         {post("session", 65537), "body-too-large"},
         // The next request is judged by its own session.
         {post("session", 4097) + post("", 4097), found("session", 4097) + "body-too-large"},
         {chunked + most + one + end, found("", 4096)},
         {chunked + most + one + one, "body-too-large"},
         {chunkedWithSession + most + one + one + end, found("session", 4097)},
         {chunkedWithSession + "ffff\r\n" + BasicString(65535, 'b') + "\r\n" + one + end, found("session", 65536)},
         {chunkedWithSession + "ffff\r\n" + BasicString(65535, 'b') + "\r\n" + one + one, "body-too-large"}});
}

TEST(ReadingRequests, LeavesNoSecretBehind)
{
    const Configuration::RequestLimits limits;
    const SessionCheck hasSession = [](const HttpRequest&)
    {
        return true;
    };
    RequestReader reader(limits, hasSession);
    const auto read = [&reader](std::string_view bytes)
    {
        reader.Add(bytes.copy(reader.GetSpace().data(), reader.GetSpace().size()));
        return reader.Parse();
    };
    const BasicString next = "GET /";
    for (const BasicString& begin :
         {BasicString("Content-Length: 6000\r\n\r\n"), BasicString("Transfer-Encoding: chunked\r\n\r\n1770\r\n")})
    {
        const BasicString end = begin.starts_with("T") ? "\r\n0\r\n\r\n" : "";
        EXPECT_EQ(read("POST / HTTP/1.1\r\nHost: h\r\nAuthorization: secret\r\n" + begin + BasicString(5000, 's')),
                  RequestReader::Progress::NeedsMore);
        EXPECT_EQ(read(BasicString(1000, 's') + end + next), RequestReader::Progress::Complete);
        reader.BeginRequest();
        const char* const buffer = reader.GetSpace().data() - next.size();
        EXPECT_EQ(std::string_view(buffer, next.size()), next);
        const std::string_view space(reader.GetSpace().data(), reader.GetSpace().size());
        EXPECT_EQ(space.find("secret"), BasicString::npos) << begin;
        EXPECT_EQ(space.find("ssss"), BasicString::npos) << begin;
        EXPECT_EQ(read(" HTTP/1.1\r\nHost: h\r\n\r\n"), RequestReader::Progress::Complete);
        reader.BeginRequest();
    }
}

TEST(ReadingRequests, ReleasesItsBufferOnlyWhenItHoldsNothing)
{
    const Configuration::RequestLimits limits;
    const SessionCheck hasSession;
    RequestReader reader(limits, hasSession);
    const auto read = [&reader](std::string_view bytes)
    {
        reader.Add(bytes.copy(reader.GetSpace().data(), reader.GetSpace().size()));
        return reader.Parse();
    };
    EXPECT_EQ(read("GET /a HTTP/1.1\r\nHost: h\r\n\r\nGET /b HTT"), RequestReader::Progress::Complete);
    reader.ReleaseEmptyBuffer();
    EXPECT_EQ(reader.GetRequest().path, "/a");
    reader.BeginRequest();
    reader.ReleaseEmptyBuffer();
    EXPECT_EQ(read("P/1.1\r\nHost: h\r\n\r\n"), RequestReader::Progress::Complete);
    EXPECT_EQ(reader.GetRequest().path, "/b");
    reader.BeginRequest();
    reader.ReleaseEmptyBuffer();
    EXPECT_EQ(read("GET /c HTTP/1.1\r\nHost: h\r\n\r\n"), RequestReader::Progress::Complete);
    EXPECT_EQ(reader.GetRequest().path, "/c");
}

TEST(ReadingRequests, KeepsPipelinedRequestsApart)
{
    const BasicString one = "\r\n" + chunked + "2\r\nde\r\n1\r\nf\r\n0\r\nX: y\r\n\r\n" +
                            "POST /b HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\nCookie: c\r\n\r\nab";
    const BasicString other = "POST / host='h' body='def'; POST /b host='h' cookie='c' body='ab'; ";
    ExpectRequests({{one, other}, {Repeat(one, 300), Repeat(other, 300)}});
}

} // namespace

} // namespace Oxa::Host::Http
