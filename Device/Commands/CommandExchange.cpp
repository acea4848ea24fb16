#include "Device/Commands/CommandExchange.hpp"

#include <mutex>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;

CommandExchange::CommandExchange() = default;

CommandExchange::~CommandExchange() = default;

void CommandExchange::Settle(AccessErrorCode settledCode)
{
    {
        const std::lock_guard lock(mutex);
        code = settledCode;
    }
    condition.notify_all();
}

AccessErrorCode CommandExchange::AwaitCode(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(mutex);
    condition.wait_for(lock, timeout, [this] { return code.has_value() || isStopped; });
    return code.value_or(isStopped ? AccessErrorCode::NotAvailable : AccessErrorCode::TimedOut);
}

void CommandExchange::NoteAnswered() noexcept
{
    {
        const std::lock_guard lock(mutex);
        isAnswered = true;
    }
    condition.notify_all();
}

bool CommandExchange::AwaitAnswered()
{
    std::unique_lock lock(mutex);
    condition.wait(lock, [this] { return isAnswered || isStopped; });
    return !isStopped;
}

void CommandExchange::Stop() noexcept
{
    {
        const std::lock_guard lock(mutex);
        isStopped = true;
    }
    condition.notify_all();
}

} // namespace Oxa::Device::Linux::Commands
