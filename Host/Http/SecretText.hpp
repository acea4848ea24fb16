#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstring>
#include <utility>

namespace Oxa::Host::Http
{

/// A text that is wiped in the end, so that no copy of a password or a token is left in free memory. Threads: one at a
/// time.
class SecretText final
{
public:
    SecretText() = default;

    explicit SecretText(BasicString newText) noexcept : text(std::move(newText)) {}

    SecretText(SecretText&& other) noexcept : text(std::move(other.text))
    {
        other.Wipe();
    }

    SecretText& operator=(SecretText&& other) noexcept
    {
        text.swap(other.text);
        return *this;
    }

    ~SecretText()
    {
        Wipe();
    }

    [[nodiscard]] const BasicString& Get() const noexcept
    {
        return text;
    }

private:
    /// Also what a short text leaves behind in the object when it is moved.
    void Wipe() noexcept
    {
        text.resize(text.capacity());
        explicit_bzero(text.data(), text.size());
    }

    BasicString text;
};

} // namespace Oxa::Host::Http
