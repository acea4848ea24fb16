#include "Host/PasswordInput.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sodium.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

namespace Oxa::Host
{

using System::Commons::InvalidOperationException;

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

    /// Asks on a terminal and reads a line.
    void Read(const BasicString& question, BasicString& text) const
    {
        if (isTerminal)
        {
            std::cerr << question << ": " << std::flush;
        }
        text.reserve(usualBytes);
        std::getline(std::cin, text);
        if (isTerminal)
        {
            std::cerr << '\n';
        }
    }

    [[nodiscard]] bool IsTerminal() const noexcept
    {
        return isTerminal;
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

PasswordInput::PasswordInput(const BasicString& userName)
{
    const SilentInput silent;
    silent.Read("password for '" + userName + '\'', text.text);
    if (silent.IsTerminal())
    {
        WipedText again;
        silent.Read("once more", again.text);
        if (again.text != text.text)
        {
            throw InvalidOperationException::Create("the two passwords differ: nothing was changed");
        }
    }
}

PasswordInput::WipedText::~WipedText()
{
    sodium_memzero(text.data(), text.size());
}

const BasicString& PasswordInput::GetText() const noexcept
{
    return text.text;
}

} // namespace Oxa::Host
