#pragma once

#include <cstddef>
#include <functional>
#include <vector>

/// Faults of the file system. Linked into a test program, `FaultyDisk.cpp` stands before the C library's calls that
/// write, truncate, flush, rename and unlink, also for the shared libraries; the program needs ENABLE_EXPORTS. Nothing
/// is flushed to the disk.
namespace Oxa::Tests::Support
{

/// What a scenario tells the test as it goes, since it may end at any time.
class FaultReport final
{
public:
    explicit FaultReport(int pipe) noexcept : pipe(pipe) {}

    /// A change, by a number below 255, that the code under test has acknowledged.
    void Acknowledge(std::size_t change) const noexcept;

private:
    int pipe;
};

struct FaultScenario
{
    /// Before each run, in the test's process.
    std::function<void()> prepare;
    /// In a child, without threads. What it throws ends it.
    std::function<void(const FaultReport&)> run;
    /// After each run, in the test's process. Gets what was acknowledged, in this order.
    std::function<void(const std::vector<std::size_t>&)> check;
};

/// Runs the scenario once for each such call that it makes: with that call failing, with all from it on failing as on a
/// full disk, and with the process killed there, in the middle of what it writes. Stops at the first failed
/// expectation, which names the fault.
void RunWithEveryFault(const FaultScenario& scenario);

} // namespace Oxa::Tests::Support
