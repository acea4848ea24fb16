#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>

#include <future>
#include <vector>

namespace Oxa::Tests::EndToEnd
{

namespace
{

TEST(Http, TellsTheProblemAndEndsTheConnection)
{
    HostProcess host;
    host.WaitUntilReady();
    const std::pair<BasicString, const char*> requests[] = {
        {"\x16\x03\x01\x02", "malformed-request"},
        {"GET /x \r\n\r\n", "malformed-request"},
        {"GET /" + BasicString(9000, 'x') + " HTTP/1.1\r\nHost: test\r\n\r\n", "target-too-long"},
        {"GET / HTTP/1.1\r\nHost: test\r\nX: " + BasicString(20000, 'x'), "header-too-large"},
        {"POST / HTTP/1.1\r\nHost: test\r\nContent-Length: 65537\r\n\r\n", "body-too-large"},
        {"GET / HTTP/1.1\r\nHost: test\r\nExpect: miracles\r\n\r\n", "unknown-expectation"}};
    for (const auto& [request, code] : requests)
    {
        auto client = host.Connect();
        client.Write(request);
        const auto answer = client.Read();
        EXPECT_EQ(GetMember(answer.body(), "code"), code);
        EXPECT_EQ(answer["Connection"], "close") << code;
        EXPECT_EQ(answer["Content-Type"], "application/problem+json") << code;
        EXPECT_TRUE(client.IsEnded()) << code;
    }
    EXPECT_EQ(host.Ask("GET", "/healthz").result_int(), 200U);
}

TEST(Http, AsksForTheBodyWhenTheClientWaitsForThat)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    auto client = host.Connect();
    client.Write("POST /api/v1/FakeDp/Echo HTTP/1.1\r\nHost: test\r\n" + admin +
                 "Expect: 100-continue\r\nContent-Length: 2\r\n\r\n");
    EXPECT_EQ(client.Read().result_int(), 100U);
    client.Write("ok");
    EXPECT_EQ(client.Read().body(), "|ok");
}

TEST(Http, KeepsConnectionsAsTheClientWants)
{
    HostProcess host;
    host.WaitUntilReady();
    auto old = host.Connect();
    old.Write("GET /healthz HTTP/1.0\r\n\r\n");
    EXPECT_EQ(old.Read().result_int(), 200U);
    EXPECT_TRUE(old.IsEnded());
    auto kept = host.Connect();
    kept.Write("GET /healthz HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_EQ(kept.Read()["Connection"], "keep-alive");
    kept.Write("OPTIONS * HTTP/1.1\r\nHost: test\r\n\r\n");
    EXPECT_EQ(kept.Read()["Allow"], "GET, HEAD, POST, PATCH, DELETE");
    // An empty line before a request is passed over.
    kept.Write("\r\nGET HTTP://test/healthz?a HTTP/1.1\r\nHost: test\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(kept.Read()["Connection"], "close");
    EXPECT_TRUE(kept.IsEnded());
}

TEST(Http, SendsTheHeaderFieldsThatKeepBrowsersFromGuessing)
{
    HostProcess host;
    host.WaitUntilReady();
    const auto answer = host.Ask("GET", "/healthz");
    EXPECT_EQ(answer["X-Content-Type-Options"], "nosniff");
    EXPECT_EQ(answer["Cache-Control"], "no-store");
    EXPECT_EQ(answer["Content-Security-Policy"], "default-src 'none'; frame-ancestors 'none'");
    EXPECT_EQ(answer["Cross-Origin-Resource-Policy"], "same-origin");
    EXPECT_EQ(answer["Permissions-Policy"],
              "camera=(), display-capture=(), geolocation=(), microphone=(), payment=(), usb=()");
    EXPECT_EQ(answer["Referrer-Policy"], "no-referrer");
    EXPECT_EQ(answer["Date"].size(), 29U);
}

TEST(Http, ServesThePageWithAPolicyOfItsOwn)
{
    const Support::TemporaryFolder page;
    page.Write("index.html", "<html>");
    page.Write("page.js", "0");
    HostProcess host({.components = "", .other = "<Page folder=\"" + page.GetPath() + "\"/>"});
    host.WaitUntilReady();
    auto client = host.Connect();
    const auto answer = client.Ask("GET", "/");
    EXPECT_EQ(answer.body(), "<html>");
    EXPECT_EQ(answer["Content-Type"], "text/html; charset=utf-8");
    EXPECT_EQ(answer["Cache-Control"], "no-cache");
    EXPECT_THAT(BasicString(answer["Content-Security-Policy"]),
                AllOf(testing::StartsWith("default-src 'none'; "), testing::HasSubstr("script-src 'self'"),
                      testing::HasSubstr("frame-ancestors 'none'"), Not(testing::HasSubstr("unsafe"))));
    EXPECT_EQ(client.Ask("GET", "/page.js")["Content-Security-Policy"], "default-src 'none'; frame-ancestors 'none'");
    const auto unchanged = client.Ask("GET", "/", "If-None-Match: " + BasicString(answer["ETag"]) + "\r\n");
    EXPECT_EQ(unchanged.result_int(), 304U);
    EXPECT_EQ(unchanged.count("Content-Length"), 0U) << "it would be that of the page";
    EXPECT_EQ(client.Ask("GET", "/index.htm").result_int(), 404U);
}

TEST(Http, EndsTheLeastAdvancedConnectionForANewOne)
{
    HostProcess host({.http = "maximumConnections=\"4\""});
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    auto withSession = host.Connect();
    EXPECT_EQ(withSession.Ask("GET", "/api/v1/pages", admin).result_int(), 200U);
    auto idle = host.Connect();
    EXPECT_EQ(idle.Ask("GET", "/healthz").result_int(), 200U);
    auto silent = host.Connect();
    auto used = host.Connect();
    EXPECT_EQ(used.Ask("GET", "/healthz").result_int(), 200U);
    EXPECT_FALSE(silent.WaitForInput(std::chrono::milliseconds(0))) << "at the bound";
    auto other = host.Connect();
    EXPECT_EQ(other.Ask("GET", "/healthz").result_int(), 200U);
    EXPECT_TRUE(silent.IsEnded());
    for (int index = 0; index < 10; ++index)
    {
        EXPECT_EQ(host.Ask("GET", "/healthz").result_int(), 200U);
    }
    EXPECT_EQ(withSession.Ask("GET", "/api/v1/pages", admin).result_int(), 200U);
}

/// Whether the server ends the connection although a byte comes ten times a second.
bool EndsInSpiteOfDrips(Support::HttpClient& client)
{
    for (int drip = 0; drip < 100; ++drip)
    {
        if (client.WaitForInput(std::chrono::milliseconds(100)))
        {
            return client.IsEnded();
        }
        client.Write("x");
    }
    return false;
}

struct SlowClient
{
    const char* limit;
    BasicString begin;
    BasicString rest;
};

const SlowClient slowClients[] = {
    {"firstByte", "", "GET /healthz HTTP/1.1\r\nHost: test\r\n\r\n"},
    {"header", "GET /healthz HTTP/1.1\r\nHost: test\r\nX: ", "\r\n\r\n"},
    {"body", "POST /api/v1/session HTTP/1.1\r\nHost: test\r\nContent-Length: 4000\r\n\r\n", BasicString(4000, 'x')}};

/// The connection of the limit ends, the others are served.
void ExpectLimitToEndOneConnection(const SlowClient& late)
{
    BasicString limits;
    for (const SlowClient& each : slowClients)
    {
        limits += each.limit + BasicString("Seconds=\"") + (&each == &late ? "1" : "3600") + "\" ";
    }
    HostProcess host({.http = limits});
    host.WaitUntilReady();
    Support::HttpClient clients[] = {host.Connect(), host.Connect(), host.Connect()};
    for (std::size_t index = 0; index < std::size(slowClients); ++index)
    {
        clients[index].Write(slowClients[index].begin);
    }
    Support::HttpClient& ending = clients[&late - slowClients];
    EXPECT_TRUE(late.begin.empty() ? ending.IsEnded() : EndsInSpiteOfDrips(ending)) << late.limit;
    for (std::size_t index = 0; index < std::size(slowClients); ++index)
    {
        if (&clients[index] != &ending)
        {
            clients[index].Write(slowClients[index].rest);
            EXPECT_NE(clients[index].Read().result_int(), 0U) << limits;
        }
    }
}

TEST(Http, EndsConnectionsThatKeepItWaitingEachByALimitOfItsOwn)
{
    std::vector<std::future<void>> hosts;
    for (const SlowClient& late : slowClients)
    {
        hosts.push_back(std::async(std::launch::async, [&late] { ExpectLimitToEndOneConnection(late); }));
    }
}

TEST(Http, EndsAConnectionThatTakesItsAnswerTooSlowly)
{
    HostProcess host({.http = R"(writeSeconds="1")"});
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    auto client = host.Connect();
    client.Write("GET /api/v1/FakeDp/Fill?8000000 HTTP/1.1\r\nHost: test\r\n" + admin + "\r\n");
    // Takes a byte at a time.
    int count = 0;
    while (!client.IsEnded())
    {
        ++count;
    }
    EXPECT_LT(count, 8000000);
}

TEST(Http, EndsTheOldestOfTheConnectionsWhoseAnswersTakeTooMuchMemory)
{
    HostProcess host({.http = R"(maximumUnsentBytes="3000000")"});
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    const auto ask = [&admin](Support::HttpClient& client, const char* bytes)
    {
        client.Write("GET /api/v1/FakeDp/Fill?" + BasicString(bytes) + " HTTP/1.1\r\nHost: test\r\n" + admin + "\r\n");
        EXPECT_TRUE(client.WaitForInput(std::chrono::seconds(20)));
    };
    auto oldest = host.Connect();
    ask(oldest, "1200000");
    auto old = host.Connect();
    ask(old, "1200000");
    auto last = host.Connect();
    ask(last, "1200000");
    EXPECT_ANY_THROW((void)oldest.Read());
    EXPECT_EQ(old.Read().body().size(), 1200000U);
    EXPECT_EQ(last.Read().body().size(), 1200000U);
    EXPECT_EQ(host.Ask("GET", "/api/v1/FakeDp/Fill?3000000", admin).body().size(), 3000000U) << "at the bound";
    EXPECT_EQ(GetMember(host.Ask("GET", "/api/v1/FakeDp/Fill?3000001", admin).body(), "code"), "response-too-large");
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
