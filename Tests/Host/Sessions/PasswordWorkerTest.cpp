#include "Host/Sessions/PasswordWorker.hpp"

#include "Support/FakeExchange.hpp"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <future>
#include <optional>
#include <stdexcept>
#include <vector>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::IHttpExchange;
using testing::HasSubstr;
using Tests::Support::FakeExchange;

namespace
{

/// A worker that is held up by its first task until `Finish`.
class PasswordWorkers : public testing::Test
{
protected:
    PasswordWorkers()
    {
        Hold();
    }

    void Hold()
    {
        std::promise<void> begun;
        Post(0,
             [&begun, end = end.get_future().share()](IHttpExchange&)
             {
                 begun.set_value();
                 end.wait();
             });
        begun.get_future().wait();
    }

    std::shared_ptr<FakeExchange> Post(std::size_t rank, PasswordWorker::Task task)
    {
        auto exchange = std::make_shared<FakeExchange>();
        handling = worker->Post(exchange, rank, std::move(task));
        resumed += handling == Handling::Deferred ? 1 : 0;
        return exchange;
    }

    /// With a new worker, held up again. Requires: `Finish`.
    void Restart()
    {
        end = {};
        context.restart();
        worker.emplace(context);
        Hold();
    }

    /// Until all exchanges have been resumed.
    void Finish()
    {
        end.set_value();
        const auto work = boost::asio::make_work_guard(context);
        for (; resumed > 0; --resumed)
        {
            context.run_one();
        }
    }

    boost::asio::io_context context;
    std::promise<void> end;
    Handling handling = Handling::Completed;
    int resumed = 0;
    std::optional<PasswordWorker> worker{std::in_place, context};
};

TEST_F(PasswordWorkers, RunTheNewestOfTheSmallestRankAndAtIntervalsTheOldest)
{
    // The ranks in the order in which the tasks come, and the numbers of the tasks in the order in which they run.
    // The task that holds the worker up is the first one that it takes, so the eighth is the seventh of these.
    const std::pair<std::vector<std::size_t>, std::vector<int>> cases[] = {
        {{}, {}},
        {{5}, {0}},
        {{0, 0, 0, 0}, {3, 2, 1, 0}},
        {{2, 0, 1, 0}, {3, 1, 2, 0}},
        {{1, 0, 0, 0, 0, 0, 0, 0, 0}, {8, 7, 6, 5, 4, 3, 0, 2, 1}}};
    Finish();
    for (const auto& [ranks, expected] : cases)
    {
        Restart();
        std::vector<int> order;
        for (int number = 0; const std::size_t rank : ranks)
        {
            Post(rank, [&order, number](IHttpExchange&) { order.push_back(number); });
            EXPECT_EQ(handling, Handling::Deferred);
            ++number;
        }
        Finish();
        EXPECT_EQ(order, expected) << testing::PrintToString(ranks);
    }
}

TEST_F(PasswordWorkers, LetNoTaskWaitBehindOthersThatComeAgainAndAgain)
{
    constexpr int others = 8;
    constexpr int enough = 200;
    int count = 0;
    int before = enough;
    std::promise<void> done;
    const PasswordWorker::Task comeAgain = [&, &current = *worker](IHttpExchange&)
    {
        if (++count < enough)
        {
            (void)current.Post(std::make_shared<FakeExchange>(), 0, comeAgain);
        }
        else if (count == enough)
        {
            done.set_value();
        }
    };
    for (int each = 0; each < others; ++each)
    {
        Post(0, comeAgain);
    }
    Post(1, [&](IHttpExchange&) { before = count; });
    end.set_value();
    done.get_future().wait();
    worker.reset();
    EXPECT_LE(before, static_cast<int>(PasswordWorker::oldestInterval) * (others + 1));
}

TEST_F(PasswordWorkers, RefuseTheLastOneWhenTooManyWait)
{
    std::vector<std::shared_ptr<FakeExchange>> waiting;
    const auto send = [](IHttpExchange& exchange)
    {
        exchange.Send({});
    };
    for (std::size_t index = 0; index < PasswordWorker::maximumWaiting; ++index)
    {
        waiting.push_back(Post(5, send));
    }
    EXPECT_THAT(Post(6, send)->body, HasSubstr("\"too-many-requests\""));
    EXPECT_EQ(handling, Handling::Completed);
    const auto equal = Post(5, send);
    EXPECT_EQ(handling, Handling::Deferred);
    EXPECT_THAT(waiting.front()->body, HasSubstr("\"too-many-requests\""));
    const auto first = Post(4, send);
    EXPECT_THAT(waiting[1]->body, HasSubstr("\"too-many-requests\""));
    Finish();
    EXPECT_TRUE(waiting[0]->isResumed && waiting[1]->isResumed);
    EXPECT_EQ(first->status, 200U);
    EXPECT_EQ(equal->status, 200U);
    EXPECT_EQ(waiting[2]->status, 200U);
}

TEST_F(PasswordWorkers, DropTasksOfClientsThatHaveGone)
{
    bool isRun = false;
    const auto gone = Post(0, [&isRun](IHttpExchange&) { isRun = true; });
    gone->isConnected = false;
    const auto next = Post(0, [](IHttpExchange& exchange) { exchange.Send({}); });
    Finish();
    EXPECT_FALSE(isRun || gone->isResumed);
    EXPECT_EQ(next->status, 200U);
}

TEST_F(PasswordWorkers, GoOnAfterATaskThatThrows)
{
    const auto faulty = Post(0, [](IHttpExchange&) { throw std::runtime_error("no memory"); });
    const auto next = Post(0, [](IHttpExchange& exchange) { exchange.Send({}); });
    Finish();
    EXPECT_THAT(faulty->body, HasSubstr("\"internal-error\""));
    EXPECT_EQ(next->status, 200U);
}

TEST_F(PasswordWorkers, RunAtALowPriority)
{
    const int before = getpriority(PRIO_PROCESS, 0);
    int priority = 0;
    Post(0, [&priority](IHttpExchange&) { priority = getpriority(PRIO_PROCESS, 0); });
    Finish();
    EXPECT_TRUE(priority > before || before >= 5) << priority;
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), before) << "only that thread's";
}

TEST_F(PasswordWorkers, LeaveWhatWaitsWithoutAResponseWhenTheyEnd)
{
    auto held = std::make_shared<int>();
    const auto waiting = Post(0, [held](IHttpExchange& exchange) { exchange.Send({}); });
    auto ending = std::async(std::launch::async, [this] { worker.reset(); });
    end.set_value();
    ending.wait();
    EXPECT_EQ(held.use_count(), 1) << "the task was dropped";
}

} // namespace

} // namespace Oxa::Host::Sessions
