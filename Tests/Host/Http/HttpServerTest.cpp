#include "Host/Http/HttpServer.hpp"

#include "Support/HttpClient.hpp"
#include "Support/LogRecorder.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <gmock/gmock.h>

#include <future>
#include <stdexcept>
#include <thread>

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

    static Configuration::HttpConfiguration MakeConfiguration()
    {
        Configuration::HttpConfiguration configuration;
        configuration.port = 0;
        configuration.hosts = {"h"};
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
            deferred.set_value(exchange);
            return Handling::Deferred;
        }
        exchange->Send({200, "text/plain", path});
        return Handling::Completed;
    }

    Tests::Support::LogRecorder log;
    boost::asio::io_context context;
    std::promise<std::shared_ptr<IHttpExchange>> deferred;
    std::shared_ptr<HttpServer> server = std::make_shared<HttpServer>(
        context, MakeConfiguration(), [this](const auto& exchange) { return Handle(exchange); },
        [](const HttpRequest& request) { return request.cookie == "session"; });
    uint16 port = 0;
    std::thread thread;
};

TEST_F(HttpServers, WriteADeferredResponseWhenItIsResumedAndThenThatOfThePipelinedRequest)
{
    HttpClient client(port);
    client.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\nGET /next HTTP/1.1\r\nHost: h\r\n\r\n");
    auto exchange = deferred.get_future().get();
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

TEST_F(HttpServers, FinishRequestsInProgressWhenTheyStopAndEndOtherConnectionsAtOnce)
{
    HttpClient idle(port);
    EXPECT_EQ(idle.Ask("GET", "/a").body(), "/a");
    HttpClient busy(port);
    busy.Write("GET /defer HTTP/1.1\r\nHost: h\r\n\r\n");
    const auto exchange = deferred.get_future().get();
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
