#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>

namespace Oxa::Host::Http
{

/// A text that serves one request after the other keeps its storage up to this size; what one large body or answer
/// needed is given back.
inline constexpr std::size_t maximumKeptBytes = std::size_t{16} * 1024;

/// Gives back the storage, and with it the text, when there is more of it than is kept.
inline void Shrink(BasicString& text)
{
    if (text.capacity() > maximumKeptBytes)
    {
        BasicString().swap(text);
    }
}

} // namespace Oxa::Host::Http
