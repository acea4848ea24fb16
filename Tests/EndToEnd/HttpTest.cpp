#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>

namespace Oxa::Tests::EndToEnd
{

namespace
{

struct BadRequest
{
    const char* name;
    BasicString text;
    unsigned status;
};

BasicString Repeat(std::string_view text, int times)
{
    BasicString result;
    for (int index = 0; index < times; ++index)
    {
        result += text;
    }
    return result;
}

TEST(Http, RefusesWhatIsMalformedOrTooLargeAndEndsTheConnection)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString post = "POST /api/v1/session HTTP/1.1\r\nHost: test\r\n";
    const BadRequest requests[] = {
        {"no HTTP", "hello\r\n\r\n", 400},
        {"TLS", BasicString("\x16\x03\x01\x02\x00\x01\r\n\r\n", 10), 400},
        {"wrong version", "GET / HTTP/3.0\r\nHost: test\r\n\r\n", 400},
        {"no host", "GET /healthz HTTP/1.1\r\n\r\n", 400},
        {"two hosts", "GET /healthz HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n", 400},
        {"no path", "GET healthz HTTP/1.1\r\nHost: test\r\n\r\n", 400},
        {"folded field", "GET /healthz HTTP/1.1\r\nHost: test\r\nCookie: a\r\n b\r\n\r\n", 400},
        {"lengths that differ", post + "Content-Length: 1\r\nContent-Length: 2\r\n\r\nab", 400},
        {"length and chunks", post + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400},
        {"unknown coding", post + "Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n", 400},
        {"bad chunk", post + "Transfer-Encoding: chunked\r\n\r\nxyz\r\n\r\n", 400},
        {"unknown expectation", post + "Expect: miracles\r\nContent-Length: 1\r\n\r\n", 417},
        {"chunks in HTTP/1.0", "POST /api/v1/session HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400},
        {"long target and long field",
         "GET /healthz?" + BasicString(8000, 'x') + " HTTP/1.1\r\nHost: test\r\nX: " + BasicString(8000, 'x') +
             "\r\n\r\n",
         431},
        {"long header", "GET / HTTP/1.1\r\nHost: test\r\nX: " + BasicString(9000, 'x') + "\r\n\r\n", 431},
        {"endless header", "GET / HTTP/1.1\r\nHost: test\r\nX: " + BasicString(20000, 'x'), 431},
        {"long target", "GET /" + BasicString(9000, 'x') + " HTTP/1.1\r\nHost: test\r\n\r\n", 431},
        {"many fields", "GET / HTTP/1.1\r\nHost: test\r\n" + Repeat("A: b\r\n", 1500) + "\r\n", 431},
        {"announced body", post + "Content-Length: 65537\r\n\r\n", 413},
        {"large body in chunks", post + "Transfer-Encoding: chunked\r\n\r\n10001\r\n" + BasicString(0x10001, 'x'), 413},
    };
    for (const BadRequest& request : requests)
    {
        auto client = host.Connect();
        client.Write(request.text);
        const auto answer = client.Read();
        EXPECT_EQ(answer.result_int(), request.status) << request.name;
        EXPECT_EQ(answer["Connection"], "close") << request.name;
        EXPECT_EQ(answer["Content-Type"], "application/problem+json") << request.name;
        EXPECT_TRUE(client.IsEnded()) << request.name;
    }
    EXPECT_EQ(host.Ask("GET", "/healthz").result_int(), 200U);
}

TEST(Http, TakesRequestsByteForByteAndSeveralAtOnce)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    const BasicString request =
        "POST /api/v1/FakeDp/Echo?1 HTTP/1.1\r\nHost: test\r\n" + admin + "Content-Length: 3\r\n\r\nabc";
    auto client = host.Connect();
    for (const char byte : request)
    {
        client.Write(std::string_view(&byte, 1));
    }
    EXPECT_EQ(client.Read().body(), "1|abc");

    BasicString pipelined;
    for (int index = 0; index < 40; ++index)
    {
        pipelined += "POST /api/v1/FakeDp/Echo?" + std::to_string(index) + " HTTP/1.1\r\nHost: test\r\n" + admin +
                     "Transfer-Encoding: chunked\r\n\r\n2\r\nde\r\n1\r\nf\r\n0\r\nAuthorization: none\r\n\r\n";
    }
    client.Write(pipelined);
    for (int index = 0; index < 40; ++index)
    {
        EXPECT_EQ(client.Read().body(), std::to_string(index) + "|def");
    }
    EXPECT_EQ(host.Stop(), 0);
}

TEST(Http, TakesTheLargestBodyAndGivesLargeAnswers)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    const BasicString body(65536, 'b');
    auto client = host.Connect();
    EXPECT_EQ(client.Ask("POST", "/api/v1/FakeDp/Echo", admin, body).body(), '|' + body);
    // More than the socket's buffers hold at once.
    EXPECT_EQ(client.Ask("GET", "/api/v1/FakeDp/Fill?8000000", admin).body().size(), 8000000U);
    EXPECT_EQ(client.Ask("GET", "/healthz").result_int(), 200U);
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
    EXPECT_EQ(answer["Date"].size(), 29U);
}

TEST(Http, RefusesConnectionsOverTheBound)
{
    HostProcess host({.http = "maximumConnections=\"1\""});
    host.WaitUntilReady();
    auto first = host.Connect();
    EXPECT_EQ(first.Ask("GET", "/healthz").result_int(), 200U);
    auto second = host.Connect();
    EXPECT_EQ(GetMember(second.Read().body(), "code"), "too-many-connections");
    EXPECT_TRUE(second.IsEnded());
    EXPECT_EQ(first.Ask("GET", "/healthz").result_int(), 200U);
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

TEST(Http, EndsConnectionsThatKeepItWaitingEachByALimitOfItsOwn)
{
    struct Slow
    {
        const char* limit;
        BasicString begin;
        BasicString rest;
    };

    const BasicString whole = "GET /healthz HTTP/1.1\r\nHost: test\r\n\r\n";
    const Slow cases[] = {{"idle", "", whole},
                          {"header", "GET /healthz HTTP/1.1\r\nHost: test\r\nX: ", "\r\n\r\n"},
                          {"body", "POST /api/v1/session HTTP/1.1\r\nHost: test\r\nContent-Length: 5000\r\n\r\n",
                           BasicString(5000, 'x')}};
    for (const Slow& late : cases)
    {
        BasicString limits;
        for (const Slow& each : cases)
        {
            limits += each.limit + BasicString("Seconds=\"") + (&each == &late ? "1" : "3600") + "\" ";
        }
        HostProcess host({.http = limits});
        host.WaitUntilReady();
        Support::HttpClient clients[] = {host.Connect(), host.Connect(), host.Connect()};
        for (std::size_t index = 0; index < std::size(cases); ++index)
        {
            clients[index].Write(cases[index].begin);
        }
        Support::HttpClient& ending = clients[&late - cases];
        EXPECT_TRUE(late.begin.empty() ? ending.IsEnded() : EndsInSpiteOfDrips(ending)) << late.limit;
        if (late.begin.empty())
        {
            auto used = host.Connect();
            EXPECT_EQ(used.Ask("GET", "/healthz").result_int(), 200U);
            EXPECT_TRUE(used.IsEnded());
        }
        for (std::size_t index = 0; index < std::size(cases); ++index)
        {
            if (&clients[index] != &ending)
            {
                clients[index].Write(cases[index].rest);
                EXPECT_NE(clients[index].Read().result_int(), 0U) << limits;
            }
        }
    }
}

TEST(Http, EndsAConnectionThatDoesNotTakeItsAnswer)
{
    HostProcess host({.http = R"(maximumConnections="1" writeSeconds="1")"});
    host.WaitUntilReady();
    auto client = host.Connect();
    const auto session = client.Ask("POST", "/api/v1/session", "Content-Type: application/json\r\n",
                                    R"({"user":"admin","password":")" + host.GetInitialPassword() + "\"}");
    client.Write("GET /api/v1/FakeDp/Fill?8000000 HTTP/1.1\r\nHost: test\r\nAuthorization: Bearer " +
                 GetMember(session.body(), "token") + "\r\n\r\n");
    const auto isFree = [&host]
    {
        try
        {
            return host.Ask("GET", "/healthz").result_int() == 200U;
        }
        catch (const std::exception&)
        {
            return false;
        }
    };
    EXPECT_TRUE(Support::Eventually(isFree));
    EXPECT_ANY_THROW((void)client.Read());
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
