#include "Device/Commands/CommandRunner.hpp"

#include "Oxa/System/Rsc/RscCallContext.hpp"

#include <exception>
#include <mutex>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscCallContext;

ICommand::~ICommand() = default;

CommandRunner::CommandRunner(std::chrono::milliseconds answerTimeout) : answerTimeout(answerTimeout) {}

CommandRunner::~CommandRunner()
{
    Stop();
}

AccessErrorCode CommandRunner::Run(std::unique_ptr<ICommand> command, BasicString title)
{
    const auto exchange = std::make_shared<CommandExchange>();
    const AccessErrorCode refusal = Begin(std::move(command), std::move(title), exchange);
    if (refusal != AccessErrorCode::None)
    {
        return refusal;
    }
    const AccessErrorCode code = exchange->AwaitCode(answerTimeout);
    NoteWhenAnswered(exchange);
    return code;
}

AccessErrorCode CommandRunner::Begin(std::unique_ptr<ICommand> command, BasicString title, ExchangePointer exchange)
{
    const std::lock_guard lock(mutex);
    if (state != State::Idle)
    {
        return state == State::Busy ? AccessErrorCode::Busy : AccessErrorCode::NotAvailable;
    }
    // The thread of the command before has nothing left to do that needs the lock.
    if (thread.joinable())
    {
        thread.join();
    }
    try
    {
        currentExchange = exchange;
        thread = std::thread(&CommandRunner::CarryOut, this, std::move(command), std::move(title), std::move(exchange));
    }
    catch (const std::system_error& error)
    {
        Log(LogLevel::Error, "Cannot start the thread of a command: {0}", error.what());
        return AccessErrorCode::DeviceFault;
    }
    state = State::Busy;
    return AccessErrorCode::None;
}

void CommandRunner::NoteWhenAnswered(ExchangePointer exchange)
{
    if (RscCallContext* const context = RscCallContext::TryGetCurrent())
    {
        context->RunAfterAnswer([exchange = std::move(exchange)] { exchange->NoteAnswered(); });
        return;
    }
    exchange->NoteAnswered();
}

void CommandRunner::Stop() noexcept
{
    std::thread last;
    ExchangePointer exchange;
    {
        const std::lock_guard lock(mutex);
        state = State::Stopped;
        last.swap(thread);
        exchange.swap(currentExchange);
    }
    if (last.joinable())
    {
        exchange->Stop();
        last.join();
    }
}

void CommandRunner::CarryOut(std::unique_ptr<ICommand> command, const BasicString& title,
                             const ExchangePointer& exchange) noexcept
{
    const CommandResult prepared = Try(*command, &ICommand::Prepare);
    if (!prepared.IsSuccess())
    {
        if (logLimits.Admits(prepared.code))
        {
            LogFailure(title, prepared);
        }
        // Before the caller is told, who may try again at once.
        EndCommand(std::move(command));
        exchange->Settle(prepared.code);
        return;
    }
    exchange->Settle(prepared.code);
    if (exchange->AwaitAnswered())
    {
        const CommandResult completed = Try(*command, &ICommand::Complete);
        if (!completed.IsSuccess())
        {
            LogFailure(title, completed);
        }
    }
    EndCommand(std::move(command));
}

CommandResult CommandRunner::Try(ICommand& command, CommandResult (ICommand::*step)()) noexcept
{
    try
    {
        return (command.*step)();
    }
    catch (const std::exception& exception)
    {
        return {AccessErrorCode::DeviceFault, exception.what()};
    }
    catch (...)
    {
        return {AccessErrorCode::DeviceFault, "unknown exception"};
    }
}

void CommandRunner::LogFailure(const BasicString& title, const CommandResult& result) const noexcept
{
    Log(LogLevel::Error, "{0}: {1}: {2}", title, result.code, result.cause);
}

void CommandRunner::EndCommand(std::unique_ptr<ICommand> command) noexcept
{
    command.reset();
    const std::lock_guard lock(mutex);
    if (state == State::Busy)
    {
        state = State::Idle;
    }
}

} // namespace Oxa::Device::Linux::Commands
