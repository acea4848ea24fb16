#include "Host/Http/HttpServer.hpp"

#include "Support/Eventually.hpp"
#include "Support/HttpClient.hpp"
#include "Support/LogRecorder.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <gmock/gmock.h>

#include <array>
#include <future>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <vector>

namespace Oxa::Host::Http
{

using Tests::Support::HttpClient;

namespace
{

/// A server whose handler sends the path, throws for "/throw", and keeps the exchange for "/defer".
class HttpServers : public testing::Test
{
protected:
    HttpServers()
    {
        server->Listen();
        port = server->GetPort();
        thread = std::thread([this] { context.run(); });
    }

    ~HttpServers() override
    {
        Post([this] { server->Stop([this] { context.stop(); }); });
        thread.join();
    }

    void Post(std::function<void()> step)
    {
        boost::asio::post(context, std::move(step));
    }

    void Finish(std::shared_ptr<IHttpExchange> exchange)
    {
        exchange->Send({200, "text/plain", "done"});
        Post([exchange = std::move(exchange)] { exchange->Resume(); });
    }

    static Configuration::HttpConfiguration MakeConfiguration()
    {
        Configuration::HttpConfiguration configuration;
        configuration.port = 0;
        configuration.hosts = {"h", "https://proxied"};
        configuration.maximumConnections = 2;
        return configuration;
    }

    Handling Handle(const std::shared_ptr<IHttpExchange>& exchange)
    {
        const std::string_view path = exchange->GetRequest().path;
        if (path == "/throw")
        {
            throw std::runtime_error("inner secret");
        }
        if (path == "/defer")
        {
            deferred.at(deferredCount++).set_value(exchange);
            return Handling::Deferred;
        }
        exchange->Send({200, "text/plain", path});
        return Handling::Completed;
    }

    Tests::Support::LogRecorder log;
    boost::asio::io_context context;
    std::array<std::promise<std::shared_ptr<IHttpExchange>>, 2> deferred;
    std::size_t deferredCount = 0;
    std::shared_ptr<HttpServer> server = std::make_shared<HttpServer>(
        context, MakeConfiguration(), [this](const auto& exchange) { return Handle(exchange); },
        [](const HttpRequest& request) { return request.cookie == (request.isSecure ? "__Host-session" : "session"); });
    uint16 port = 0;
    std::thread thread;
};

TEST_F(HttpServers, WriteADeferredResponseWhenItIsResumedAndThenThatOfThePipelinedRequest)
{
    HttpClient client(port);
    client.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\nGET /next HTTP/1.1\r\nHost: h\r\n\r\n");
    auto exchange = deferred[0].get_future().get();
    EXPECT_EQ(exchange->GetClientAddress(), "127.0.0.1");
    exchange->Send({200, "text/plain", "late", "X-A: b\r\n"});
    Post([exchange = std::move(exchange)] { exchange->Resume(); });
    const auto response = client.Read();
    EXPECT_EQ(response.body(), "late");
    EXPECT_EQ(response["X-A"], "b");
    EXPECT_EQ(client.Read().body(), "/next");
}

TEST_F(HttpServers, TurnWhatTheHandlerThrowsIntoAResponseWithoutItsText)
{
    HttpClient client(port);
    client.Write("GET /throw HTTP/1.1\r\nHost: h\r\n\r\nHEAD /next HTTP/1.1\r\nHost: h\r\n\r\n");
    const auto response = client.Read();
    EXPECT_EQ(response.result_int(), 500U);
    EXPECT_THAT(response.body(), testing::Not(testing::HasSubstr("secret")));
    const BasicString requestId(response["Oxa-Request-Id"]);
    EXPECT_EQ(requestId.size(), 16U);
    const auto next = client.Read(true);
    EXPECT_EQ(next["Content-Length"], "5") << "the connection goes on";
    EXPECT_EQ(next["Oxa-Request-Id"], "") << "nothing names this request";
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_THAT(log.GetEntries()[0].message, testing::HasSubstr(requestId));
    EXPECT_THAT(log.GetEntries()[0].message, testing::HasSubstr("inner secret"));
}

TEST_F(HttpServers, TakeLongBodiesWithTheSessionOfAnEncryptingProxysClient)
{
    const BasicString body(5000, 'b');
    const std::tuple<BasicString, BasicString, unsigned> cases[] = {{"h", "session", 200},
                                                                    {"h", "__Host-session", 413},
                                                                    {"proxied", "session", 413},
                                                                    {"proxied", "__Host-session", 200}};
    for (const auto& [host, cookie, status] : cases)
    {
        for (const BasicString& framed : {"Content-Length: 5000\r\n\r\n" + body,
                                          "Transfer-Encoding: chunked\r\n\r\n1388\r\n" + body + "\r\n0\r\n\r\n"})
        {
            HttpClient client(port);
            client.Write("POST /a HTTP/1.1\r\nHost: " + host + "\r\nCookie: " + cookie + "\r\n" + framed);
            EXPECT_EQ(client.Read().result_int(), status) << host << ", " << cookie << ", " << framed.substr(0, 20);
        }
    }
}

TEST_F(HttpServers, RefuseAConnectionOnlyWhenAllOthersAreBusy)
{
    HttpClient first(port);
    HttpClient second(port);
    EXPECT_EQ(first.Ask("GET", "/a").body(), "/a");
    EXPECT_EQ(second.Ask("GET", "/b").body(), "/b");
    HttpClient third(port);
    third.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\n");
    auto exchange = deferred[0].get_future().get();
    EXPECT_TRUE(first.IsEnded()) << "it has been idle longest";
    second.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\n");
    auto other = deferred[1].get_future().get();
    HttpClient refused(port);
    EXPECT_EQ(refused.Read().result_int(), 503U);
    EXPECT_TRUE(refused.IsEnded());
    Finish(std::move(exchange));
    Finish(std::move(other));
    EXPECT_EQ(third.Read().body(), "done");
    EXPECT_EQ(second.Read().body(), "done");
}

TEST_F(HttpServers, CloseAtOnceAfterTheLastRequestOfAClientThatSendsNothingMore)
{
    HttpClient client(port);
    EXPECT_EQ(client.Ask("GET", "/last", "Connection: close\r\n").body(), "/last");
    EXPECT_TRUE(client.IsEnded());
    const auto isReset = [&client]
    {
        try
        {
            client.Write("x");
            return false;
        }
        catch (const std::exception&)
        {
            return true;
        }
    };
    EXPECT_TRUE(Tests::Support::Eventually(isReset)) << "a server that lingers would read on";
    HttpClient talkative(port);
    talkative.Write("GET /last HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\nmore");
    EXPECT_EQ(talkative.Read().body(), "/last");
    EXPECT_TRUE(talkative.IsEnded());
    talkative.Write("and more");
}

TEST_F(HttpServers, TellAHandlerWhenItsClientHasGone)
{
    std::shared_ptr<IHttpExchange> exchange;
    {
        HttpClient client(port);
        client.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\nGET /next");
        exchange = deferred[0].get_future().get();
        EXPECT_TRUE(exchange->IsConnected());
    }
    EXPECT_TRUE(Tests::Support::Eventually([&exchange] { return !exchange->IsConnected(); }));
    Finish(std::move(exchange));
}

TEST_F(HttpServers, KnowTheAddressOfAClientThatHasResetItsConnection)
{
    HttpClient client(port);
    client.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\n");
    auto exchange = deferred[0].get_future().get();
    client.Reset();
    EXPECT_TRUE(Tests::Support::Eventually([&exchange] { return !exchange->IsConnected(); }));
    EXPECT_EQ(exchange->GetClientAddress(), "127.0.0.1");
    Finish(std::move(exchange));
}

TEST_F(HttpServers, NameTheSessionOrTheAddressOfAClient)
{
    HttpClient clients[] = {HttpClient(port), HttpClient(port)};
    std::vector<std::shared_ptr<IHttpExchange>> exchanges;
    for (std::size_t index = 0; index < std::size(clients); ++index)
    {
        clients[index].Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\n");
        exchanges.push_back(deferred.at(index).get_future().get());
    }
    EXPECT_EQ(exchanges[0]->GetClientId(), exchanges[1]->GetClientId());
    exchanges[0]->SetSession(1);
    EXPECT_NE(exchanges[0]->GetClientId(), exchanges[1]->GetClientId());
    exchanges[1]->SetSession(1);
    EXPECT_EQ(exchanges[0]->GetClientId(), exchanges[1]->GetClientId());
    for (auto& each : exchanges)
    {
        Finish(std::move(each));
    }
}

TEST_F(HttpServers, FinishRequestsInProgressWhenTheyStopAndEndOtherConnectionsAtOnce)
{
    HttpClient idle(port);
    EXPECT_EQ(idle.Ask("GET", "/a").body(), "/a");
    HttpClient busy(port);
    busy.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\n");
    const auto exchange = deferred[0].get_future().get();
    std::promise<void> drained;
    auto isDrained = drained.get_future();
    Post([this, &drained] { server->Stop([&drained] { drained.set_value(); }); });
    EXPECT_TRUE(idle.IsEnded());
    EXPECT_EQ(isDrained.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    exchange->Send({200, "text/plain", "last"});
    Post([exchange] { exchange->Resume(); });
    EXPECT_EQ(busy.Read().body(), "last");
    EXPECT_TRUE(busy.IsEnded());
    isDrained.wait();
}

} // namespace

} // namespace Oxa::Host::Http
