#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <cstddef>
#include <string_view>

namespace Oxa::Host
{

/// A password from standard input: one line, or on a terminal, prompted for twice and without echo. No other copy of it
/// is made, and it is wiped in the end. When a signal ends the process meanwhile, the terminal gets its echo back
/// first.
class PasswordInput final
{
public:
    /// Empty at the end of the input. Throws InvalidOperationException when the two lines differ.
    explicit PasswordInput(const BasicString& userName);
    PasswordInput(const PasswordInput&) = delete;
    PasswordInput& operator=(const PasswordInput&) = delete;
    ~PasswordInput();

    /// Valid as long as the object. Of a line that is too long for a password only the beginning, which is too long
    /// too.
    [[nodiscard]] std::string_view GetText() const noexcept
    {
        return {buffer.data(), size};
    }

private:
    PasswordInput() = default;
    void ReadLine() noexcept;

    std::array<char, 2048> buffer{};
    std::size_t size = 0;
};

} // namespace Oxa::Host
