#include "Device/Machine/KeptFile.hpp"

#include "Device/FakeClock.hpp"
#include "Device/FakeMachine.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>

namespace Oxa::Tests::Device
{

namespace
{

using Oxa::Device::Linux::Machine::KeptFile;

BasicString ReadText(KeptFile& file)
{
    std::array<char, 16> buffer;
    const KeptFile::Content content = file.Read(buffer);
    return content.error != 0 ? file.DescribeError(content.error) : BasicString(content.text);
}

} // namespace

TEST(KeepingAFileOpen, SeesWhatIsWrittenAndWhatIsPutInItsPlace)
{
    const FakeMachine machine;
    FakeClock clock;
    KeptFile file(machine.GetPath("/value"), KeptFile::Reopening::ByPath, clock.Get());
    const BasicString missing = "cannot read '" + file.GetPath() + "': No such file or directory";

    EXPECT_EQ(ReadText(file), missing);
    machine.Write("/value", "first");
    clock.Advance(std::chrono::milliseconds(999));
    EXPECT_EQ(ReadText(file), missing) << "it is looked for once a second";
    clock.Advance(std::chrono::milliseconds(1));
    EXPECT_EQ(ReadText(file), "first");
    machine.Write("/value", "2nd");
    EXPECT_EQ(ReadText(file), "2nd");
    machine.Replace("/value", "third");
    EXPECT_EQ(ReadText(file), "third");
    std::filesystem::remove(file.GetPath());
    EXPECT_EQ(ReadText(file), missing);
}

TEST(KeepingAFileOpen, ReadsNoMoreThanItHasRoomFor)
{
    const FakeMachine machine;
    machine.Write("/huge", BasicString(1'000'000, 'x'));
    KeptFile huge(machine.GetPath("/huge"));
    KeptFile endless("/dev/zero");

    EXPECT_EQ(ReadText(huge), BasicString(16, 'x'));
    EXPECT_EQ(ReadText(endless), BasicString(16, '\0'));
}

TEST(KeepingAFileOpen, NeitherHangsOnAPipeNorReadsAFolder)
{
    const FakeMachine machine;
    ASSERT_EQ(mkfifo(machine.GetPath("/pipe").c_str(), 0600), 0);
    KeptFile pipe(machine.GetPath("/pipe"));
    KeptFile folder(machine.GetPath("/"));
    std::array<char, 16> buffer;

    EXPECT_EQ(pipe.Read(buffer).error, ESPIPE);
    EXPECT_EQ(folder.Read(buffer).error, EISDIR);
}

} // namespace Oxa::Tests::Device
