#include "Host/Threads/TaskWorker.hpp"

#include <gtest/gtest.h>

#include <future>

namespace Oxa::Host::Threads
{

namespace
{

TEST(Workers, RefuseATaskWhenTooManyWait)
{
    std::promise<void> started;
    std::promise<void> mayEnd;
    std::promise<void> hasEnded;
    TaskWorker worker(1);
    ASSERT_TRUE(worker.TryAdd(
        [&started, &mayEnd]
        {
            started.set_value();
            mayEnd.get_future().wait();
        }));
    started.get_future().wait();
    EXPECT_TRUE(worker.TryAdd([&hasEnded] { hasEnded.set_value(); })) << "the one under way does not wait";
    EXPECT_FALSE(worker.TryAdd([] { FAIL(); }));
    mayEnd.set_value();
    hasEnded.get_future().wait();
}

} // namespace

} // namespace Oxa::Host::Threads
