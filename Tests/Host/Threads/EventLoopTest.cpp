#include "Host/Threads/EventLoop.hpp"

#include <boost/asio/post.hpp>
#include <gtest/gtest.h>

#include <future>

namespace Oxa::Host::Threads
{

namespace
{

TEST(EventLoops, GoOnWhileForeignCallsHangAndTakeTheirThreadsBack)
{
    EventLoop loop;
    std::promise<void> letGo;
    const std::shared_future<void> isLetGo = letGo.get_future().share();
    std::promise<void> finished;
    std::atomic<int> returned = 0;
    constexpr int hanging = 3;
    for (int index = 0; index < hanging; ++index)
    {
        boost::asio::post(loop.GetContext(),
                          [&loop, &returned, isLetGo]
                          {
                              {
                                  const EventLoop::ForeignCall call(loop);
                                  isLetGo.wait();
                              }
                              ++returned;
                              // On the way out of a call that hung: must be run though everybody else waits for events.
                              if (returned == hanging)
                              {
                                  boost::asio::post(loop.GetContext(), [&loop] { loop.Stop(); });
                              }
                          });
    }
    // Reached by a fourth thread only.
    boost::asio::post(loop.GetContext(), [&letGo] { letGo.set_value(); });
    loop.Run(hanging + 1);
    EXPECT_EQ(returned, hanging);
}

TEST(EventLoops, RunHandlersOneAfterTheOther)
{
    EventLoop loop;
    int sum = 0;
    constexpr int count = 20000;
    for (int index = 0; index < count; ++index)
    {
        boost::asio::post(loop.GetContext(),
                          [&loop, &sum]
                          {
                              {
                                  const EventLoop::ForeignCall call(loop);
                              }
                              if (++sum == count)
                              {
                                  loop.Stop();
                              }
                          });
    }
    loop.Run(4);
    EXPECT_EQ(sum, count);
}

TEST(EventLoops, StopFromAnotherThread)
{
    EventLoop loop;
    std::thread stopper([&loop] { loop.Stop(); });
    loop.Run(2);
    stopper.join();
}

} // namespace

} // namespace Oxa::Host::Threads
