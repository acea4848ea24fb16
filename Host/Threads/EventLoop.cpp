#include "Host/Threads/EventLoop.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

namespace Oxa::Host::Threads
{

EventLoop::EventLoop() : team(*this) {}

EventLoop::~EventLoop() = default;

void EventLoop::Run(unsigned minimumLimit)
{
    const auto work = boost::asio::make_work_guard(context);
    team.Run(minimumLimit);
}

void EventLoop::Stop()
{
    team.Stop();
    context.stop();
}

void EventLoop::RunOne()
{
    context.run_one();
}

void EventLoop::Wake()
{
    boost::asio::post(context, [] {});
}

} // namespace Oxa::Host::Threads
