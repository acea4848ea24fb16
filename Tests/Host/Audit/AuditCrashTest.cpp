#include "Host/Audit/AuditStore.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Support/TemporaryFolder.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <vector>

// Functions of the C library that change what is on the disk: those that this program and its shared libraries call are
// these here. When armed, one of the calls, counted over all of them, kills the process or fails.

namespace
{

enum class Fault
{
    Kill,
    Fail
};

Fault armedFault = Fault::Kill;
/// The calls until the fault; 0: not armed.
int callsLeft = 0;

bool IsFault()
{
    if (callsLeft == 0 || --callsLeft > 0)
    {
        return false;
    }
    if (armedFault == Fault::Kill)
    {
        kill(getpid(), SIGKILL);
    }
    errno = EIO;
    return true;
}

} // namespace

#define OXA_REPLACES extern "C" __attribute__((visibility("default")))

OXA_REPLACES ssize_t write(int file, const void* bytes, size_t count)
{
    return IsFault() ? -1 : syscall(SYS_write, file, bytes, count);
}

OXA_REPLACES ssize_t pwrite64(int file, const void* bytes, size_t count, off64_t offset)
{
    return IsFault() ? -1 : syscall(SYS_pwrite64, file, bytes, count, offset);
}

OXA_REPLACES int ftruncate64(int file, off64_t size) noexcept
{
    return IsFault() ? -1 : static_cast<int>(syscall(SYS_ftruncate, file, size));
}

OXA_REPLACES int fsync(int file)
{
    return IsFault() ? -1 : static_cast<int>(syscall(SYS_fsync, file));
}

OXA_REPLACES int fdatasync(int file)
{
    return IsFault() ? -1 : static_cast<int>(syscall(SYS_fdatasync, file));
}

OXA_REPLACES int rename(const char* from, const char* to) noexcept
{
    return IsFault() ? -1 : static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

OXA_REPLACES int unlink(const char* path) noexcept
{
    return IsFault() ? -1 : static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

namespace Oxa::Host::Audit
{
namespace
{

constexpr int64 rowCount = 3;

class CrashingAuditTrails : public testing::TestWithParam<Fault>
{
protected:
    /// Makes the trail, stores rows one by one and closes it; the last store did. Returns the number of rows that were
    /// stored, as far as the caller of `Append` knows.
    int64 Store(AuditStore& store, int64 count) const
    {
        System::Nm::Notification notification;
        notification.kind = System::Nm::NotificationKind::CommandExecuted;
        int64 stored = 0;
        while (stored < count)
        {
            std::vector<AuditRow> rows = {MakeAuditRow(notification, "boot")};
            store.Append(rows);
            stored = rows.front().sequence;
            Tell(stored);
        }
        return stored;
    }

    /// In a child process. False when the fault was not reached.
    bool Run(int calls)
    {
        std::array<int, 2> pipeEnds{};
        EXPECT_EQ(pipe(pipeEnds.data()), 0);
        const pid_t child = fork();
        if (child == 0)
        {
            reportPipe = pipeEnds[1];
            armedFault = GetParam();
            callsLeft = calls;
            _exit(StoreUntilFault());
        }
        close(pipeEnds[1]);
        acknowledged = 0;
        int64 sequence = 0;
        while (read(pipeEnds[0], &sequence, sizeof sequence) == sizeof sequence)
        {
            acknowledged = sequence;
        }
        close(pipeEnds[0]);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGKILL) << calls;
        return !WIFEXITED(status) || WEXITSTATUS(status) != 0;
    }

    Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("audit.sqlite");
    int64 acknowledged = 0;

private:
    /// The exit status: 0 without a fault.
    [[nodiscard]] int StoreUntilFault() const
    {
        int faults = 0;
        try
        {
            AuditStore store(path, AuditStore::minimumBytes);
            Store(store, rowCount);
        }
        catch (const System::Commons::Exception&)
        {
            ++faults;
        }
        return faults > 0 || callsLeft == 0 ? 1 : 0;
    }

    /// Not by `write`, which is counted.
    void Tell(int64 sequence) const
    {
        if (reportPipe >= 0)
        {
            syscall(SYS_write, reportPipe, &sequence, sizeof sequence);
        }
    }

    int reportPipe = -1;
};

TEST_P(CrashingAuditTrails, KeepEveryRowThatWasStoredAndStayProvableAtEveryCall)
{
    int calls = 1;
    for (; Run(calls); ++calls)
    {
        AuditStore store(path, AuditStore::minimumBytes);
        EXPECT_EQ(store.Verify().fault, "") << "call " << calls;
        const int64 last = store.Verify().head.lastSequence;
        // A row whose acknowledgement was cut off may be there as well.
        EXPECT_GE(last, acknowledged) << "call " << calls;
        EXPECT_LE(last, acknowledged + 1) << "call " << calls;
        EXPECT_EQ(Store(store, last + 1), last + 1) << "call " << calls;
        EXPECT_EQ(store.Verify().fault, "") << "call " << calls;
        for (const auto& file : std::filesystem::directory_iterator(folder.GetPath()))
        {
            std::filesystem::remove(file.path());
        }
    }
    EXPECT_EQ(acknowledged, rowCount);
    EXPECT_GT(calls, 3 * rowCount) << "the calls are not counted";
}

INSTANTIATE_TEST_SUITE_P(AtEveryCall, CrashingAuditTrails, testing::Values(Fault::Kill, Fault::Fail),
                         [](const auto& each) { return each.param == Fault::Kill ? "Kill" : "Fail"; });

} // namespace
} // namespace Oxa::Host::Audit
