#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Host
{

/// A password, read from standard input: one line, asked for and without echo when that is a terminal. Wiped in the
/// end. When a signal ends the process meanwhile, the terminal gets its echo back first. Threads: one at a time, for
/// the signal handlers and the terminal are the process's.
class PasswordInput final
{
public:
    /// Returns when the line has come. Empty at the end of the input.
    PasswordInput();

    PasswordInput(const PasswordInput&) = delete;
    PasswordInput& operator=(const PasswordInput&) = delete;
    ~PasswordInput();

    /// Valid until the object is destroyed.
    [[nodiscard]] const BasicString& GetText() const noexcept;

private:
    BasicString text;
};

} // namespace Oxa::Host
