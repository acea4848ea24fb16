#pragma once

#include "Oxa/System/Commons/Threading/LeaderTeam.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

namespace Oxa::Host::Threads
{

/// Runs an io_context by a LeaderTeam: one thread runs the handlers, one after the other, until a `BlockingSection` in
/// one of them hangs; then another thread goes on. What escapes a handler is logged, and the loop goes on. Owned by the
/// host's main part. Threads: safe from any thread.
class EventLoop final : private System::Commons::Threading::ILeaderWork
{
public:
    EventLoop() : team(*this) {}

    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Requires: `Run` has returned or was never called.
    ~EventLoop() override = default;

    [[nodiscard]] boost::asio::io_context& GetContext() noexcept
    {
        return context;
    }

    /// Runs handlers until `Stop`; returns when all threads of the team have ended. Once.
    /// `minimumLimit`: of the number of threads, see `LeaderTeam::Run`.
    void Run(unsigned minimumLimit)
    {
        const auto work = boost::asio::make_work_guard(context);
        team.Run(minimumLimit);
    }

    void Stop()
    {
        team.Stop();
        context.stop();
    }

    /// Keeps a thread in reserve, as long as it lives, for one more blocking section that may hang.
    class Reserve final
    {
    public:
        explicit Reserve(EventLoop& loop) : team(loop.team)
        {
            team.ChangeLimit(1);
        }

        Reserve(const Reserve&) = delete;
        Reserve& operator=(const Reserve&) = delete;

        ~Reserve()
        {
            team.ChangeLimit(-1);
        }

    private:
        System::Commons::Threading::LeaderTeam& team;
    };

    /// Spans a call of foreign code in a handler. Does nothing inside another one and on other threads.
    class BlockingSection final
    {
    public:
        explicit BlockingSection(EventLoop& loop) noexcept : section(loop.team) {}

    private:
        System::Commons::Threading::LeaderTeam::BlockingSection section;
    };

private:
    void RunOne() override
    {
        context.run_one();
    }

    void Wake() override
    {
        boost::asio::post(context, [] {});
    }

    boost::asio::io_context context;
    System::Commons::Threading::LeaderTeam team;
};

} // namespace Oxa::Host::Threads
