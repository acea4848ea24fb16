#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <chrono>
#include <string_view>

namespace Oxa::System::Commons::Diagnostics
{

/// Writes a text to a pipe, socket, terminal or file, and gives up when there is no progress for `patience`: a reader
/// that does not read must not keep the process from starting or ending. False: not everything was written. Threads:
/// any; also inside signal handlers.
OXA_EXPORT bool WriteBounded(int descriptor, std::string_view text, std::chrono::milliseconds patience) noexcept;

/// Whether standard error is a stream of the systemd journal, which adds the time and reads a priority "<N>" at the
/// beginning of a line. Not inside signal handlers.
[[nodiscard]] OXA_EXPORT bool IsJournalStream() noexcept;

} // namespace Oxa::System::Commons::Diagnostics
