#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <chrono>
#include <string_view>

namespace Oxa::System::Commons::Diagnostics
{

/// Writes a text to a pipe, socket, terminal or file, and gives up when nothing of it is taken for `patience`: a reader
/// that stands still must not keep the process from starting or ending. False: something is missing. Threads: any; also
/// inside signal handlers.
OXA_EXPORT bool WriteBounded(int descriptor, std::string_view text, std::chrono::milliseconds patience) noexcept;

/// Whether standard error is a stream of the systemd journal, which adds the time and takes a priority "<N>" at the
/// begin of a line. Not inside signal handlers.
[[nodiscard]] OXA_EXPORT bool IsJournalStream() noexcept;

} // namespace Oxa::System::Commons::Diagnostics
