#pragma once

#include <cstddef>

namespace Oxa::Benchmarks
{

/// How often this program has allocated memory through operator new so far.
[[nodiscard]] std::size_t GetAllocationCount() noexcept;

} // namespace Oxa::Benchmarks
