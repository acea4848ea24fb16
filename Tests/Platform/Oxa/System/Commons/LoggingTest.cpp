#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/TemporaryFolder.hpp"

#include <fcntl.h>
#include <fmt/ostream.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <stdexcept>

namespace LoggingTest
{

using namespace Oxa;
using namespace Oxa::System::Commons::Diagnostics::Logging;

/// Counts how often it is formatted, and throws on demand.
struct Value
{
    bool isThrowing = false;
    bool isUnknownException = false;
    mutable int formatCount = 0;
};

std::ostream& operator<<(std::ostream& stream, const Value& value)
{
    ++value.formatCount;
    if (value.isUnknownException)
    {
        throw 1;
    }
    if (value.isThrowing)
    {
        throw std::runtime_error("no text");
    }
    return stream << "value";
}

class Talker : private Loggable<Talker>
{
public:
    using Loggable<Talker>::Log;
};

} // namespace LoggingTest

template <>
struct fmt::formatter<LoggingTest::Value> : fmt::ostream_formatter
{
};

namespace LoggingTest
{
namespace
{

using Oxa::Tests::Support::LogRecorder;

TEST(Logging, FormatsOnlyEnabledLevels)
{
    const LogRecorder log(LogLevel::Warning);
    const Talker talker;
    const Value value;
    talker.Log(LogLevel::Information, "{0}", value);
    EXPECT_EQ(value.formatCount, 0);
    talker.Log(LogLevel::Warning, "{1} and {0}", value, "line\nbreak");
    EXPECT_EQ(log.GetEntries(), (std::vector<LogRecorder::Entry>{
                                    {LogLevel::Warning, "LoggingTest::Talker", "line\\x0abreak and value"}}));
}

TEST(Logging, PassesOnTheExactLevelAndFollowsALaterConfiguration)
{
    const Talker talker;
    std::vector<LogRecorder::Entry> expected;
    for (uint8 wanted = 0; wanted <= 7; ++wanted)
    {
        const LogRecorder log(static_cast<LogLevel>(wanted));
        for (uint8 level = 0; level <= 7; ++level)
        {
            talker.Log(static_cast<LogLevel>(level), "text");
        }
        expected.push_back({static_cast<LogLevel>(wanted), "LoggingTest::Talker", "text"});
        EXPECT_EQ(log.GetEntries(), expected) << GetLogLevelName(static_cast<LogLevel>(wanted));
    }
}

TEST(Logging, FallsBackToTheTemplateWhenFormattingThrows)
{
    const LogRecorder log;
    const Talker talker;
    talker.Log(LogLevel::Debug, "first {0}", Value{true, false});
    talker.Log(LogLevel::Warning, "second {0}", Value{false, true});
    talker.Log(LogLevel::Debug, "third {0} {1}", 1);
    const auto entries = log.GetEntries();
    ASSERT_EQ(entries.size(), 6U);
    EXPECT_EQ(entries[0].level, LogLevel::Error);
    EXPECT_EQ(entries[0].message, "Exception occurs during format of log message: no text");
    EXPECT_EQ(entries[1].level, LogLevel::Debug);
    EXPECT_EQ(entries[1].message, "first {0}");
    EXPECT_EQ(entries[2].message, "Exception occurs during format of log message: Unknown exception");
    EXPECT_EQ(entries[3].message, "second {0}");
    EXPECT_TRUE(entries[4].message.starts_with("Exception occurs during format of log message: "));
    EXPECT_EQ(entries[5].message, "third {0} {1}");
}

TEST(ConfiguringTheLog, AppliesTheLongestMatchingPrefix)
{
    const auto early = LogManager::CreateLogAdapter("A::B::C");
    LogConfiguration configuration;
    configuration.target = LogConfiguration::Target::None;
    configuration.level = LogLevel::Error;
    configuration.levelsByPrefix = {{"A::", LogLevel::Warning}, {"A::B", LogLevel::Debug}, {"B", LogLevel::Alert}};
    LogManager::Configure(configuration);
    EXPECT_EQ(early->GetLevel(), LogLevel::Debug);
    EXPECT_EQ(LogManager::CreateLogAdapter("A::X")->GetLevel(), LogLevel::Warning);
    EXPECT_EQ(LogManager::CreateLogAdapter("C")->GetLevel(), LogLevel::Error);
}

TEST(ConfiguringTheLog, WritesToAFileAndKeepsTheOldTargetWhenTheFileCannotBeOpened)
{
    const Oxa::Tests::Support::TemporaryFolder folder;
    LogConfiguration configuration;
    configuration.target = LogConfiguration::Target::File;
    configuration.filePath = folder.GetPath("log.txt");
    LogManager::Configure(configuration);
    configuration.filePath = folder.GetPath("log.txt/no-folder");
    EXPECT_THROW(LogManager::Configure(configuration), Oxa::System::Commons::InvalidOperationException);
    LogManager::CreateLogAdapter("A::B")->Write(LogLevel::Notice, "kept");
    LogManager::WaitUntilWritten(std::chrono::seconds(10));
    EXPECT_NE(folder.Read("log.txt").find("notice A::B: kept"), std::string::npos);
}

TEST(Logging, DelaysNoThreadAndCountsWhatIsLostWhileTheTargetTakesNothing)
{
    const Oxa::Tests::Support::TemporaryFolder folder;
    LogConfiguration configuration;
    configuration.target = LogConfiguration::Target::File;
    configuration.filePath = folder.GetPath("pipe");
    ASSERT_EQ(mkfifo(configuration.filePath.c_str(), 0600), 0);
    const Oxa::System::Commons::FileDescriptor reader(open(configuration.filePath.c_str(), O_RDWR | O_CLOEXEC));
    LogManager::Configure(configuration);
    const auto adapter = LogManager::CreateLogAdapter("A::B");
    constexpr unsigned total = 1000;
    for (unsigned index = 0; index < total; ++index)
    {
        adapter->Write(LogLevel::Notice, std::string(1000, 'x'));
    }
    FILE* const lines = fdopen(dup(reader.Get()), "r");
    unsigned lost = 0;
    for (unsigned seen = 0; seen < total;)
    {
        std::array<char, 2000> line;
        ASSERT_NE(fgets(line.data(), line.size(), lines), nullptr);
        const std::string text = line.data();
        const auto loss = text.find(" lines are missing here");
        seen +=
            loss == std::string::npos ? 1 : static_cast<unsigned>(std::stoul(text.substr(text.rfind(' ', loss - 1))));
        lost += loss == std::string::npos ? 0 : 1;
    }
    fclose(lines);
    EXPECT_GT(lost, 0U);
    configuration.target = LogConfiguration::Target::None;
    LogManager::Configure(configuration);
}

TEST(Logging, GivesTheJournalPrioritiesInsteadOfTimes)
{
    std::array<int, 2> journal = {};
    ASSERT_EQ(pipe2(journal.data(), O_CLOEXEC), 0);
    const Oxa::System::Commons::FileDescriptor errors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
    dup2(journal[1], STDERR_FILENO);
    struct stat status = {};
    fstat(STDERR_FILENO, &status);
    setenv("JOURNAL_STREAM", (std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino)).c_str(), 1);
    LogManager::Configure({});
    LogManager::CreateLogAdapter("A::B")->Write(LogLevel::Notice, "text");
    std::array<char, 100> text = {};
    EXPECT_GT(read(journal[0], text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), "<5>A::B: text\n");
    dup2(errors.Get(), STDERR_FILENO);
    unsetenv("JOURNAL_STREAM");
    LogManager::Configure({});
    close(journal[0]);
    close(journal[1]);
}

TEST(ParsingLogLevels, TakesNamesAndDigits)
{
    EXPECT_EQ(ParseLogLevel("warning"), LogLevel::Warning);
    EXPECT_EQ(ParseLogLevel("7"), LogLevel::Debug);
    for (const char* const text : {"", "8", "Warning", "-1", "77"})
    {
        EXPECT_EQ(ParseLogLevel(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace LoggingTest
