#include "Device/ServiceOutage.hpp"

#include <exception>
#include <mutex>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux
{

using Interface::Services::AccessErrorCode;
using System::Commons::Diagnostics::Logging::LogLevel;

ServiceOutage::ServiceOutage(Actions actions, std::chrono::milliseconds duration, std::unique_ptr<IWaiter> waiter)
    : actions(std::move(actions)), duration(duration), waiter(std::move(waiter))
{
}

ServiceOutage::~ServiceOutage()
{
    Stop();
}

AccessErrorCode ServiceOutage::Begin()
{
    const std::lock_guard lock(mutex);
    if (state == State::Stopped)
    {
        return AccessErrorCode::NotAvailable;
    }
    if (state == State::Down)
    {
        return AccessErrorCode::Busy;
    }
    if (!TryStartThread())
    {
        return AccessErrorCode::DeviceFault;
    }
    state = State::Down;
    return AccessErrorCode::None;
}

void ServiceOutage::Stop() noexcept
{
    std::thread last;
    {
        const std::lock_guard lock(mutex);
        state = State::Stopped;
        last.swap(thread);
    }
    waiter->Cancel();
    if (last.joinable())
    {
        last.join();
    }
}

void ServiceOutage::Run() noexcept
{
    try
    {
        GoDownAndComeBack();
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "The services did not come back after the simulated restart: {0}", exception.what());
    }
    const std::lock_guard lock(mutex);
    if (state == State::Down)
    {
        state = State::Idle;
    }
}

void ServiceOutage::GoDownAndComeBack()
{
    actions.withdraw();
    Log(LogLevel::Notice, "Simulated restart: the services are gone for {0} ms", duration.count());
    if (waiter->Wait(duration))
    {
        actions.offerAgain();
        Log(LogLevel::Notice, "Simulated restart: the services are back");
    }
}

bool ServiceOutage::TryStartThread()
{
    // The previous outage's thread has nothing left to do: it set the state to Idle as its last act.
    if (thread.joinable())
    {
        thread.join();
    }
    try
    {
        thread = std::thread(&ServiceOutage::Run, this);
        return true;
    }
    catch (const std::system_error& error)
    {
        Log(LogLevel::Error, "Cannot start the thread of a simulated restart: {0}", error.what());
        return false;
    }
}

} // namespace Oxa::Device::Linux
