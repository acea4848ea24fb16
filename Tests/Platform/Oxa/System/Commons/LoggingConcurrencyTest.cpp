#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Support/LogRecorder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

namespace LoggingConcurrencyTest
{

using namespace Oxa;
using namespace Oxa::System::Commons::Diagnostics::Logging;
using Oxa::Tests::Support::LogRecorder;

/// Used by one test only, so that its logger is made there.
struct Talker : private Loggable<Talker>
{
    using Loggable<Talker>::Log;
};

TEST(LoggingFirst, LosesNothingWithManyThreads)
{
    const LogRecorder log;
    constexpr int threadCount = 8;
    std::latch start(threadCount);
    std::vector<std::jthread> threads;
    std::vector<LogRecorder::Entry> expected;
    for (int index = 0; index < threadCount; ++index)
    {
        expected.push_back({LogLevel::Notice, "LoggingConcurrencyTest::Talker", std::to_string(index)});
        threads.emplace_back(
            [&start, index]
            {
                start.arrive_and_wait();
                Talker().Log(LogLevel::Notice, "{0}", index);
            });
    }
    threads.clear();
    EXPECT_THAT(log.GetEntries(), testing::UnorderedElementsAreArray(expected));
}

} // namespace LoggingConcurrencyTest
