#include "Host/Http/RequestStrand.hpp"

#include "Support/FakeExchange.hpp"
#include "Support/LogRecorder.hpp"

#include <gmock/gmock.h>

#include <future>
#include <stdexcept>
#include <thread>

namespace Oxa::Host::Http
{

using Tests::Support::FakeExchange;

namespace
{

const Problem* FindProblem(const std::exception& exception) noexcept
{
    return dynamic_cast<const std::range_error*>(&exception) != nullptr ? &Problems::serviceTimeout : nullptr;
}

class Strands : public testing::Test
{
protected:
    std::shared_ptr<FakeExchange> Ask(const RequestStrand::Task& task)
    {
        auto exchange = std::make_shared<FakeExchange>();
        handling = strand->Run(exchange, task);
        return exchange;
    }

    static void Respond(IHttpExchange& exchange)
    {
        exchange.Send({200, "text/plain", "done"});
    }

    Tests::Support::LogRecorder log{System::Commons::Diagnostics::Logging::LogLevel::Notice};
    Threads::EventLoop loop;
    Configuration::WaitingLimits limits{1, 2};
    std::shared_ptr<RequestStrand> strand = std::make_shared<RequestStrand>(loop, "Dp", limits, &FindProblem);
    Handling handling = Handling::Deferred;
};

TEST_F(Strands, RunATaskAtOnceWhenNoneIsUnderWay)
{
    const auto exchange = Ask(Respond);
    EXPECT_EQ(handling, Handling::Completed);
    EXPECT_EQ(exchange->body, "done");
    EXPECT_FALSE(exchange->isResumed);
}

TEST_F(Strands, LetOneWaitAndRefuseTheNext)
{
    std::shared_ptr<FakeExchange> waiting;
    std::shared_ptr<FakeExchange> refused;
    Ask(
        [&](IHttpExchange& first)
        {
            waiting = Ask(Respond);
            EXPECT_EQ(handling, Handling::Deferred);
            refused = Ask(Respond);
            EXPECT_EQ(handling, Handling::Completed);
            Respond(first);
        });
    EXPECT_EQ(refused->status, 503U);
    EXPECT_THAT(refused->body, testing::HasSubstr("too-many-requests"));
    EXPECT_EQ(waiting->status, 0U) << "the response before it is written first";
    loop.GetContext().poll();
    EXPECT_EQ(waiting->body, "done");
    EXPECT_TRUE(waiting->isResumed);
}

TEST_F(Strands, LetClientsTakeTurns)
{
    limits = {6, 2};
    strand = std::make_shared<RequestStrand>(loop, "Dp", limits, &FindProblem);
    std::vector<BasicString> order;
    std::vector<std::shared_ptr<FakeExchange>> exchanges;
    // The requests come while one of the client 1 is in progress; "503" stands for those that are refused.
    const auto ask = [&](uint64 clientId, const BasicString& name)
    {
        auto exchange = std::make_shared<FakeExchange>();
        exchange->clientId = clientId;
        exchanges.push_back(exchange);
        const auto task = [&order, name](IHttpExchange& each)
        {
            order.push_back(name);
            Respond(each);
        };
        (void)strand->Run(exchange, RequestStrand::Task(task));
        return exchange->status == 0 ? "" : std::to_string(exchange->status);
    };
    const auto first = std::make_shared<FakeExchange>();
    first->clientId = 1;
    const auto task = [&](IHttpExchange& each)
    {
        EXPECT_EQ(ask(1, "1b"), "");
        EXPECT_EQ(ask(1, "1c"), "") << "at the bound of a client";
        EXPECT_EQ(ask(1, "1d"), "503") << "above it";
        EXPECT_EQ(ask(2, "2a"), "");
        EXPECT_EQ(ask(2, "2b"), "");
        EXPECT_EQ(ask(3, "3a"), "");
        EXPECT_EQ(ask(4, "4a"), "") << "at the bound of all";
        EXPECT_EQ(ask(4, "4b"), "") << "in the place of 1c";
        EXPECT_EQ(ask(5, "5a"), "") << "in the place of 4b, the last one of two of its rank";
        EXPECT_EQ(ask(3, "3b"), "503") << "no client has more";
        Respond(each);
    };
    EXPECT_EQ(strand->Run(first, RequestStrand::Task(task)), Handling::Completed);
    while (loop.GetContext().poll() > 0)
    {
        loop.GetContext().restart();
    }
    EXPECT_THAT(order, testing::ElementsAre("2a", "3a", "4a", "5a", "1b", "2b"));
    EXPECT_EQ(exchanges[1]->status, 503U);
    EXPECT_TRUE(exchanges[1]->isResumed);
}

TEST_F(Strands, TurnWhatATaskThrowsIntoAResponseWithoutItsText)
{
    const auto fault = Ask([](IHttpExchange&) { throw std::runtime_error("inner secret"); });
    EXPECT_EQ(fault->status, 500U);
    EXPECT_THAT(fault->body, testing::Not(testing::HasSubstr("secret")));
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_THAT(log.GetEntries()[0].message, testing::HasSubstr("inner secret"));

    EXPECT_EQ(Ask([](IHttpExchange&) { throw 1; })->status, 500U);
    EXPECT_EQ(Ask(Respond)->status, 200U) << "the strand goes on";
}

TEST_F(Strands, SendTheProblemThatIsKnownForAnExceptionAndLogItOnce)
{
    const auto exchange = Ask([](IHttpExchange&) { throw std::range_error("of a service"); });
    EXPECT_EQ(exchange->status, 504U);
    EXPECT_THAT(exchange->body, testing::HasSubstr("service-timeout"));
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_EQ(log.GetEntries()[0].message, "Dp: of a service");
}

TEST_F(Strands, LogATaskThatHangsOnceAndItsReturn)
{
    strand = std::make_shared<RequestStrand>(loop, "Dp", limits, &FindProblem, std::chrono::milliseconds(1));
    const auto exchange = std::make_shared<FakeExchange>();
    exchange->request.path = "/api/v1/Dp/Hang";
    const auto hang = [this](IHttpExchange& each)
    {
        loop.GetContext().restart();
        loop.GetContext().run_one();
        const auto task = strand->FindHangingTask();
        EXPECT_EQ(task ? task->path : "none", "/api/v1/Dp/Hang");
        EXPECT_EQ(loop.GetContext().poll(), 0U) << "it is logged once";
        Respond(each);
    };
    for (int index = 0; index < 2; ++index)
    {
        EXPECT_EQ(strand->Run(exchange, hang), Handling::Completed);
        EXPECT_FALSE(strand->FindHangingTask());
    }
    std::vector<BasicString> messages;
    for (const auto& entry : log.GetEntries())
    {
        messages.push_back(entry.message);
    }
    const BasicString hangs = "Dp: the request '/api/v1/Dp/Hang' has lasted 0 s and is still in progress";
    EXPECT_THAT(messages, testing::ElementsAre(hangs, "Dp: the request that hung has returned after 0 s", hangs,
                                               "Dp: the request that hung has returned after 0 s"));
}

TEST_F(Strands, GoOnWhenNotEvenTheProblemCanBeSent)
{
    /// There is no memory for a response.
    class FullExchange final : public IHttpExchange
    {
    public:
        [[nodiscard]] const HttpRequest& GetRequest() const noexcept override
        {
            return request;
        }

        [[nodiscard]] BasicString GetClientAddress() const override
        {
            return {};
        }

        [[nodiscard]] bool IsConnected() noexcept override
        {
            return true;
        }

        void SetSession(uint64 /*sessionId*/) noexcept override {}

        [[nodiscard]] uint64 GetClientId() const noexcept override
        {
            return 0;
        }

        [[nodiscard]] std::string_view GetRequestId() override
        {
            return {};
        }

        void Send(const HttpResponse& /*response*/) override
        {
            throw std::bad_alloc();
        }

        void Resume() override {}

    private:
        HttpRequest request;
    };

    EXPECT_EQ(strand->Run(std::make_shared<FullExchange>(), RequestStrand::Task(Respond)), Handling::Completed);
    EXPECT_EQ(Ask(Respond)->body, "done");
}

TEST_F(Strands, CloseWhenTheTaskUnderWayHasEnded)
{
    std::promise<void> started;
    std::atomic<bool> hasEnded = false;
    std::shared_ptr<FakeExchange> waiting;
    std::thread thread(
        [&]
        {
            Ask(
                [&](IHttpExchange& exchange)
                {
                    waiting = Ask(Respond);
                    started.set_value();
                    // Until the other thread waits in Close, which refuses newcomers at once.
                    while (Ask(Respond)->body.find("not-available") == BasicString::npos)
                    {
                        std::this_thread::yield();
                    }
                    Respond(exchange);
                    hasEnded = true;
                });
        });
    started.get_future().wait();
    strand->Close();
    EXPECT_TRUE(hasEnded);
    thread.join();
    loop.GetContext().poll();
    EXPECT_EQ(waiting->status, 503U);
    EXPECT_TRUE(waiting->isResumed);
    EXPECT_EQ(Ask(Respond)->status, 503U);
}

} // namespace

} // namespace Oxa::Host::Http
