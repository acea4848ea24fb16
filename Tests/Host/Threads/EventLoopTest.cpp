#include "Host/Threads/EventLoop.hpp"

#include <boost/asio/post.hpp>
#include <gtest/gtest.h>

#include <future>
#include <optional>

namespace Oxa::Host::Threads
{

namespace
{

TEST(EventLoops, GoOnWhileBlockingSectionsHangAndTakeTheirThreadsBack)
{
    EventLoop loop;
    std::promise<void> letGo;
    const std::shared_future<void> isLetGo = letGo.get_future().share();
    std::promise<void> allHang;
    std::atomic<int> begun = 0;
    std::atomic<int> returned = 0;
    constexpr int hanging = 3;
    for (int index = 0; index < hanging; ++index)
    {
        boost::asio::post(loop.GetContext(),
                          [&loop, &allHang, &begun, &returned, isLetGo]
                          {
                              {
                                  const EventLoop::BlockingSection call(loop);
                                  if (++begun == hanging)
                                  {
                                      allHang.set_value();
                                  }
                                  isLetGo.wait();
                              }
                              ++returned;
                              // Posted on leaving a section that hung: must run although all other threads wait for
                              // events.
                              if (returned == hanging)
                              {
                                  boost::asio::post(loop.GetContext(), [&loop] { loop.Stop(); });
                              }
                          });
    }
    // Reached by a fourth thread only, which comes with the reserve.
    boost::asio::post(loop.GetContext(), [&letGo] { letGo.set_value(); });
    // Two threads may hang and one may go on; while they all hang, another thread becomes allowed.
    std::optional<EventLoop::Reserve> reserve;
    std::thread registrar(
        [&loop, &allHang, &reserve]
        {
            allHang.get_future().wait();
            reserve.emplace(loop);
        });
    loop.Run(hanging);
    registrar.join();
    EXPECT_EQ(returned, hanging);
}

TEST(EventLoops, GoOnWhileABlockingSectionHangsInWhichAnotherOneHasEnded)
{
    EventLoop loop;
    std::promise<void> letGo;
    boost::asio::post(loop.GetContext(),
                      [&loop, &letGo]
                      {
                          {
                              const EventLoop::BlockingSection call(loop);
                              {
                                  const EventLoop::BlockingSection inner(loop);
                              }
                              letGo.get_future().wait();
                          }
                          loop.Stop();
                      });
    boost::asio::post(loop.GetContext(), [&letGo] { letGo.set_value(); });
    loop.Run(3);
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
                                  const EventLoop::BlockingSection call(loop);
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
