#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Host
{

/// A password, read from standard input: one line, or when that is a terminal, asked for twice and without echo. Wiped
/// in the end. When a signal ends the process meanwhile, the terminal gets its echo back first. Threads: one at a time,
/// for the signal handlers and the terminal are the process's.
class PasswordInput final
{
public:
    /// Returns when the line has come. Empty at the end of the input. Throws InvalidOperationException when two
    /// different ones were typed. `userName` is for the question.
    explicit PasswordInput(const BasicString& userName);

    PasswordInput(const PasswordInput&) = delete;
    PasswordInput& operator=(const PasswordInput&) = delete;

    /// Valid until the object is destroyed.
    [[nodiscard]] const BasicString& GetText() const noexcept;

private:
    struct WipedText
    {
        ~WipedText();

        BasicString text;
    };

    WipedText text;
};

} // namespace Oxa::Host
