#include "Host/PasswordInput.hpp"

#include <sodium.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

namespace Oxa::Host
{

namespace
{

/// So long a password is read without growing the text, which would leave copies behind.
constexpr std::size_t usualBytes = 1024;

/// The terminal as it was found, where the signal handler finds it.
termios terminalBefore = {};

extern "C" void RestoreTerminalAndEnd(int signalNumber)
{
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
    // By now the signal's default action, as soon as this handler returns.
    raise(signalNumber);
}

/// Switches the terminal's echo off as long as it lives, or until a signal ends the process; nothing when standard
/// input is no terminal. One at a time.
class SilentInput final
{
public:
    SilentInput() : isTerminal(tcgetattr(STDIN_FILENO, &terminalBefore) == 0)
    {
        if (isTerminal)
        {
            SetSignalActions(&RestoreTerminalAndEnd);
            termios silent = terminalBefore;
            silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
            std::cerr << "password: " << std::flush;
        }
    }

    SilentInput(const SilentInput&) = delete;
    SilentInput& operator=(const SilentInput&) = delete;

    ~SilentInput()
    {
        if (isTerminal)
        {
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
            SetSignalActions(SIG_DFL);
            std::cerr << '\n';
        }
    }

private:
    using SignalHandler = void (*)(int);

    static void SetSignalActions(SignalHandler handler)
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT, SIGHUP})
        {
            sigaction(signalNumber, &action, nullptr);
        }
    }

    const bool isTerminal;
};

} // namespace

PasswordInput::PasswordInput()
{
    const SilentInput silent;
    text.reserve(usualBytes);
    std::getline(std::cin, text);
}

PasswordInput::~PasswordInput()
{
    sodium_memzero(text.data(), text.size());
}

const BasicString& PasswordInput::GetText() const noexcept
{
    return text;
}

} // namespace Oxa::Host
