#pragma once

#include "Oxa/System/Commons/Threading/LeaderTeam.hpp"

#include <boost/asio/io_context.hpp>

namespace Oxa::Host::Threads
{

/// Runs an io_context by a LeaderTeam: one thread runs the handlers, one after the other, until a `BlockingSection` out
/// of one of them hangs; then another thread goes on. What escapes a handler is logged, and the loop goes on. Owned by
/// the host's main part. Threads: everything is safe from any thread.
class EventLoop final : private System::Commons::Threading::ILeaderWork
{
public:
    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Requires: `Run` has returned or was never called.
    ~EventLoop() override;

    [[nodiscard]] boost::asio::io_context& GetContext() noexcept
    {
        return context;
    }

    /// Runs handlers until `Stop`; returns when all threads of the team are through. Once.
    /// `minimumLimit`: of the number of threads, see `LeaderTeam::Run`.
    void Run(unsigned minimumLimit);

    void Stop();

    /// Keeps a thread in reserve, as long as it lives, for one more foreign call that may hang.
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

    /// Spans a call of foreign code out of a handler; not inside another one. Does nothing on other threads.
    class BlockingSection final
    {
    public:
        explicit BlockingSection(EventLoop& loop) noexcept : call(loop.team) {}

    private:
        System::Commons::Threading::LeaderTeam::BlockingSection call;
    };

private:
    void RunOne() override;
    void Wake() override;

    boost::asio::io_context context;
    System::Commons::Threading::LeaderTeam team;
};

} // namespace Oxa::Host::Threads
