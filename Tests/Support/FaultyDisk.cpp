#include "Support/FaultyDisk.hpp"

#include "Oxa/System/Commons/Export.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <exception>

namespace Oxa::Tests::Support
{
namespace
{

enum class Fault
{
    /// One call fails with EIO.
    Once,
    /// From one call on, all fail with ENOSPC; unlinking works.
    FromThenOn,
    /// The process ends at one call, when writing after half of the bytes.
    Kill
};

constexpr std::size_t never = SIZE_MAX;

// Of a child. The test's own process has none.
Fault chosenFault{};
std::size_t chosenNumber = never;
std::size_t calls = 0;

enum class Verdict
{
    Work,
    Fail,
    End
};

/// Counts a call. Sets errno for `Fail`.
Verdict Judge(bool freesSpace = false) noexcept
{
    if (chosenNumber == never)
    {
        return Verdict::Work;
    }
    const std::size_t number = calls++;
    switch (chosenFault)
    {
    case Fault::Kill:
        return number < chosenNumber ? Verdict::Work : Verdict::End;
    case Fault::FromThenOn:
        errno = ENOSPC;
        return number < chosenNumber || freesSpace ? Verdict::Work : Verdict::Fail;
    case Fault::Once:
        errno = EIO;
        return number != chosenNumber ? Verdict::Work : Verdict::Fail;
    }
    return Verdict::Work;
}

[[noreturn]] void End() noexcept
{
    kill(getpid(), SIGKILL);
    for (;;)
    {
        pause();
    }
}

template <class Write>
ssize_t WriteSome(std::size_t size, const Write& doWrite) noexcept
{
    switch (Judge())
    {
    case Verdict::Work:
        return doWrite(size);
    case Verdict::End:
        (void)doWrite(size / 2);
        End();
    default:
        return -1;
    }
}

template <class Call>
int Do(const Call& call, bool freesSpace = false) noexcept
{
    switch (Judge(freesSpace))
    {
    case Verdict::Work:
        return static_cast<int>(call());
    case Verdict::End:
        End();
    default:
        return -1;
    }
}

constexpr unsigned char hadNoFault = 255;

struct Outcome
{
    bool hadFault = true;
    std::vector<std::size_t> acknowledged;
};

[[noreturn]] void RunInChild(Fault fault, std::size_t number, const FaultScenario& scenario, int pipe)
{
    chosenFault = fault;
    chosenNumber = number;
    const FaultReport report(pipe);
    try
    {
        scenario.run(report);
    }
    catch (const std::exception&)
    {
        // The rest is not acknowledged.
    }
    if (calls <= chosenNumber)
    {
        report.Acknowledge(hadNoFault);
    }
    _exit(0);
}

Outcome Run(Fault fault, std::size_t number, const FaultScenario& scenario)
{
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t child = fork();
    if (child == 0)
    {
        close(ends[0]);
        RunInChild(fault, number, scenario, ends[1]);
    }
    close(ends[1]);
    Outcome outcome;
    unsigned char change = 0;
    while (read(ends[0], &change, 1) == 1)
    {
        outcome.acknowledged.push_back(change);
    }
    close(ends[0]);
    const auto found = std::ranges::find(outcome.acknowledged, hadNoFault);
    if (found != outcome.acknowledged.end())
    {
        outcome.hadFault = false;
        outcome.acknowledged.erase(found);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const bool isKilled = fault == Fault::Kill && outcome.hadFault;
    EXPECT_TRUE(isKilled ? WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL
                         : WIFEXITED(status) && WEXITSTATUS(status) == 0)
        << status;
    return outcome;
}

} // namespace

void FaultReport::Acknowledge(std::size_t change) const noexcept
{
    const auto byte = static_cast<unsigned char>(change);
    (void)syscall(SYS_write, pipe, &byte, 1);
}

void RunWithEveryFault(const FaultScenario& scenario)
{
    constexpr std::pair<Fault, const char*> faults[] = {
        {Fault::Once, "an error once"}, {Fault::FromThenOn, "errors"}, {Fault::Kill, "SIGKILL"}};
    for (const auto& [fault, name] : faults)
    {
        bool hadFault = true;
        for (std::size_t number = 0; hadFault; ++number)
        {
            SCOPED_TRACE(testing::Message() << name << " at call " << number);
            scenario.prepare();
            const Outcome outcome = Run(fault, number, scenario);
            scenario.check(outcome.acknowledged);
            hadFault = outcome.hadFault;
            EXPECT_TRUE(hadFault || number > 0) << "the scenario makes no such call";
            if (testing::Test::HasFailure())
            {
                return;
            }
        }
    }
}

} // namespace Oxa::Tests::Support

// The names and types are the C library's.
extern "C"
{
    using Oxa::Tests::Support::Do;
    using Oxa::Tests::Support::WriteSome;

    // To files only: pipes and terminals are no disk.
    OXA_EXPORT ssize_t write(int file, const void* bytes, size_t size)
    {
        const auto doWrite = [&](size_t count)
        {
            return syscall(SYS_write, file, bytes, count);
        };
        return syscall(SYS_lseek, file, 0, SEEK_CUR) < 0 ? doWrite(size) : WriteSome(size, doWrite);
    }

    OXA_EXPORT ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t offset)
    {
        return WriteSome(size, [&](size_t count) { return syscall(SYS_pwrite64, file, bytes, count, offset); });
    }

    OXA_EXPORT int ftruncate64(int file, off64_t size) noexcept
    {
        return Do([&] { return syscall(SYS_ftruncate, file, size); });
    }

    OXA_EXPORT int fsync(int /*file*/)
    {
        return Do([] { return 0; });
    }

    OXA_EXPORT int fdatasync(int /*file*/)
    {
        return Do([] { return 0; });
    }

    OXA_EXPORT int rename(const char* from, const char* to) noexcept
    {
        return Do([&] { return syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0); });
    }

    OXA_EXPORT int unlink(const char* path) noexcept
    {
        return Do([&] { return syscall(SYS_unlinkat, AT_FDCWD, path, 0); }, true);
    }
}
