#include "Host/PasswordInput.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sodium.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <iostream>

namespace Oxa::Host
{

using System::Commons::InvalidOperationException;

namespace
{

/// The terminal as it was found, where the signal handler finds it.
termios terminalBefore = {};

extern "C" void RestoreTerminalAndEnd(int signalNumber)
{
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
    // By now the signal's default action, as soon as this handler returns.
    raise(signalNumber);
}

/// Switches the terminal's echo off as long as it lives, or until a signal ends the process; does nothing when standard
/// input is not a terminal. One at a time.
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
        }
    }

    const bool isTerminal;

private:
    static void SetSignalActions(void (*handler)(int))
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT, SIGHUP})
        {
            sigaction(signalNumber, &action, nullptr);
        }
    }
};

} // namespace

PasswordInput::PasswordInput(const BasicString& userName)
{
    const SilentInput silent;
    const auto ask = [&silent](PasswordInput& input, const BasicString& prompt)
    {
        std::cerr << (silent.isTerminal ? prompt + ": " : "") << std::flush;
        input.ReadLine();
        std::cerr << (silent.isTerminal ? "\n" : "");
    };
    ask(*this, "password for '" + userName + '\'');
    PasswordInput again;
    if (silent.isTerminal)
    {
        ask(again, "once more");
    }
    if (silent.isTerminal && again.GetText() != GetText())
    {
        throw InvalidOperationException::Create("the two passwords differ: nothing was changed");
    }
}

PasswordInput::~PasswordInput()
{
    sodium_memzero(buffer.data(), buffer.size());
}

/// Without the buffers of the standard library, which are not wiped.
void PasswordInput::ReadLine() noexcept
{
    char character = 0;
    for (;;)
    {
        const ssize_t count = read(STDIN_FILENO, &character, 1);
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0 || character == '\n')
        {
            return;
        }
        if (size < buffer.size())
        {
            buffer[size++] = character;
        }
    }
}

} // namespace Oxa::Host
