#pragma once

#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <chrono>
#include <condition_variable>
#include <optional>

namespace Oxa::Device::Linux::Commands
{

/// What the thread of one command, its caller and the sender of the answer tell one another. Shared by the three.
/// Safe from several threads.
class CommandExchange final
{
public:
    CommandExchange();
    ~CommandExchange();

    /// The command's thread: what the caller is told.
    void Settle(Interface::Services::AccessErrorCode settledCode);

    /// The caller: what the command's thread said, TimedOut when it did not say so in time, NotAvailable after `Stop`.
    [[nodiscard]] Interface::Services::AccessErrorCode AwaitCode(std::chrono::milliseconds timeout);

    /// The answer has been sent, or cannot be.
    void NoteAnswered() noexcept;

    /// The command's thread: false after `Stop`.
    [[nodiscard]] bool AwaitAnswered();

    /// Ends both waits at once.
    void Stop() noexcept;

private:
    System::Commons::Mutex mutex;
    std::condition_variable condition;
    std::optional<Interface::Services::AccessErrorCode> code;
    bool isAnswered = false;
    bool isStopped = false;
};

} // namespace Oxa::Device::Linux::Commands
