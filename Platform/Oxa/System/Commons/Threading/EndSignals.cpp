#include "Oxa/System/Commons/Threading/EndSignals.hpp"

#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <system_error>
#include <thread>

namespace Oxa::System::Commons::Threading
{

namespace
{

/// For the lines that were logged before, and for the last one; part of the time that the process has.
constexpr std::chrono::milliseconds lastLineLimit{200};

/// Never destroyed: the thread outlives all static objects.
std::atomic<WakeEvent*> firstSignal = nullptr;

sigset_t MakeEndSignals() noexcept
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

/// Requires: the signals are blocked in all threads, this one included.
void WatchSignals(std::chrono::seconds limit) noexcept
{
    using std::chrono::steady_clock;
    const sigset_t signals = MakeEndSignals();
    int number = 0;
    sigwait(&signals, &number);
    const auto deadline = steady_clock::now() + limit - lastLineLimit;
    firstSignal.load()->Set();
    int second = -1;
    while (second < 0 && steady_clock::now() < deadline)
    {
        // May end early, for instance when the process was stopped and continues.
        const std::chrono::nanoseconds left = deadline - steady_clock::now();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
        const timespec timeout{seconds.count(), (left - seconds).count()};
        second = sigtimedwait(&signals, nullptr, &timeout);
    }
    if (second < 0)
    {
        EndSignals::EndProcess("the process has not ended in time after a signal: ending without the parts that hang");
    }
    std::signal(second, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    raise(second);
    _exit(EXIT_FAILURE);
}

} // namespace

void EndSignals::Watch(std::chrono::seconds limit)
{
    firstSignal = new WakeEvent;
    const sigset_t signals = MakeEndSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try
    {
        std::thread([limit] { WatchSignals(limit); }).detach();
    }
    catch (const std::system_error& error)
    {
        throw InvalidOperationException::Create("cannot start the thread that waits for signals: {0}", error.what());
    }
}

int EndSignals::GetDescriptor() noexcept
{
    return firstSignal.load()->GetDescriptor();
}

void EndSignals::Wait() noexcept
{
    pollfd polled{GetDescriptor(), POLLIN, 0};
    while (poll(&polled, 1, -1) < 0 && errno == EINTR)
    {
    }
}

void EndSignals::EndProcess(std::string_view cause) noexcept
{
    Diagnostics::WriteLastLine("<3>", {cause}, lastLineLimit / 2);
    _exit(EXIT_FAILURE);
}

} // namespace Oxa::System::Commons::Threading
