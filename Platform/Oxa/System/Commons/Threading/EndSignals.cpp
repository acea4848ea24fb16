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

[[noreturn]] void EndAsByDefault(int number) noexcept
{
    const sigset_t signals = MakeEndSignals();
    std::signal(number, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    raise(number);
    _exit(EXIT_FAILURE);
}

/// Requires: the signals are blocked in all threads, this one included.
void WatchSignals(std::chrono::seconds limit) noexcept
{
    const sigset_t signals = MakeEndSignals();
    int number = 0;
    sigwait(&signals, &number);
    const auto deadline = std::chrono::steady_clock::now() + limit - lastLineLimit;
    firstSignal.load()->Set();
    while (true)
    {
        const auto left =
            std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
        {
            EndSignals::EndProcess(
                "the process has not ended in time after a signal: ending without the parts that hang");
        }
        const timespec timeout{static_cast<std::time_t>(left.count() / 1'000'000'000),
                               static_cast<long>(left.count() % 1'000'000'000)};
        number = sigtimedwait(&signals, nullptr, &timeout);
        if (number > 0)
        {
            EndAsByDefault(number);
        }
    }
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
