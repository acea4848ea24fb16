#pragma once

#include "Device/Commands/CommandExchange.hpp"
#include "Device/Commands/ICommand.hpp"
#include "Device/Commands/RefusalLogLimits.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <chrono>
#include <memory>
#include <thread>

namespace Oxa::Device::Linux::Commands
{

/// Carries out one command at a time, on a thread that exists as long as the command. Logs why commands fail: before
/// the caller is answered within a limit, after that always. Safe from several threads.
class CommandRunner final : private System::Commons::Diagnostics::Logging::Loggable<CommandRunner>
{
public:
    /// A caller waits for `answerTimeout` at most.
    explicit CommandRunner(std::chrono::milliseconds answerTimeout);
    CommandRunner(const CommandRunner&) = delete;
    CommandRunner& operator=(const CommandRunner&) = delete;
    ~CommandRunner();

    /// Returns what `Prepare` said; TimedOut when that takes too long, the command then goes on. Busy during another
    /// command, NotAvailable after `Stop`, DeviceFault when no thread can be started. `title` is for the log.
    [[nodiscard]] Interface::Services::AccessErrorCode Run(std::unique_ptr<ICommand> command, BasicString title);

    /// Returns when the thread has ended; what a command itself waits for has been cancelled before. None runs any
    /// more.
    void Stop() noexcept;

private:
    using ExchangePointer = std::shared_ptr<CommandExchange>;

    enum class State
    {
        Idle,
        Busy,
        Stopped
    };

    [[nodiscard]] Interface::Services::AccessErrorCode Begin(std::unique_ptr<ICommand> command, BasicString title,
                                                             ExchangePointer exchange);
    static void NoteWhenAnswered(ExchangePointer exchange);
    void CarryOut(std::unique_ptr<ICommand> command, const BasicString& title,
                  const ExchangePointer& exchange) noexcept;
    static CommandResult Try(ICommand& command, CommandResult (ICommand::*step)()) noexcept;
    void LogFailure(const BasicString& title, const CommandResult& result) const noexcept;
    void EndCommand(std::unique_ptr<ICommand> command) noexcept;

    const std::chrono::milliseconds answerTimeout;

    System::Commons::Mutex mutex;
    State state = State::Idle;
    ExchangePointer currentExchange;
    std::thread thread;
    RefusalLogLimits logLimits;
};

} // namespace Oxa::Device::Linux::Commands
