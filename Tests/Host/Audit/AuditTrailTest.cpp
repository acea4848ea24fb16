#include "Host/Audit/AuditTrail.hpp"

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Support/Eventually.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <thread>

namespace Oxa::Host::Audit
{
namespace
{

using System::Nm::Notification;
using System::Nm::NotificationKind;
using testing::ElementsAre;
using testing::HasSubstr;

Notification MakeNotification(NotificationKind kind, const BasicString& text = "text", const BasicString& user = {})
{
    Notification notification;
    notification.kind = kind;
    notification.user = user;
    notification.text = text;
    return notification;
}

/// Lets no file of this process grow beyond a size, as a full disk does.
class FullDisk final
{
public:
    explicit FullDisk(rlim_t bytes) : handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit = {bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    void (*const handler)(int);
    rlimit before{};
};

class AuditTrails : public testing::Test
{
protected:
    void Publish(NotificationKind kind, const BasicString& text = "text", const BasicString& user = {})
    {
        trail.Add(MakeNotification(kind, text, user));
        trail.Commit();
    }

    /// "KIND object", the oldest first.
    [[nodiscard]] std::vector<BasicString> GetRows() const
    {
        std::vector<BasicString> texts;
        for (const AuditRow& row : AuditStore(path).List({.limit = 1000}))
        {
            texts.insert(texts.begin(), row.action + ' ' + row.object);
        }
        return texts;
    }

    Tests::Support::LogRecorder log{System::Commons::Diagnostics::Logging::LogLevel::Notice};
    Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("state/audit.sqlite");
    Threads::EventLoop loop;
    AuditTrail trail{{path, 4, {}}, loop, std::chrono::milliseconds(1)};
};

TEST_F(AuditTrails, HaveARowOnTheDiskWhenPublishReturns)
{
    std::filesystem::create_directory(folder.GetPath("state"));
    System::Nm::NotificationManager manager;
    manager.Subscribe([this](const Notification& each) { trail.Add(each); }, [this] { trail.Commit(); });
    {
        std::vector<std::jthread> threads;
        for (int number = 0; number < 4; ++number)
        {
            threads.emplace_back(
                [this, &manager, number]
                {
                    for (int count = 0; count < 10; ++count)
                    {
                        const BasicString text = std::to_string(number) + '/' + std::to_string(count);
                        manager.Publish(MakeNotification(NotificationKind::CommandExecuted, text));
                        EXPECT_THAT(GetRows(), testing::Contains("CommandExecuted " + text));
                    }
                });
        }
    }
    EXPECT_EQ(GetRows().size(), 40U);
    EXPECT_EQ(AuditStore(path).Verify().fault, "");
    EXPECT_TRUE(log.GetEntries().empty());
}

TEST_F(AuditTrails, WriteWhatNothingWaitsForWithTheNextRowOrSoon)
{
    std::filesystem::create_directory(folder.GetPath("state"));
    Publish(NotificationKind::ModuleStateChanged, "a");
    Publish(NotificationKind::ServiceLost, "b");
    EXPECT_FALSE(std::filesystem::exists(path)) << "nothing waits for a disk at the start";
    Publish(NotificationKind::LoggedIn, "c");
    EXPECT_THAT(GetRows(), ElementsAre("ModuleStateChanged a", "ServiceLost b", "LoggedIn c"));
    Publish(NotificationKind::ServiceBack, "d");
    std::jthread thread([this] { loop.Run(3); });
    EXPECT_TRUE(Tests::Support::Eventually([this] { return GetRows().size() == 4; }));
    loop.Stop();
}

TEST_F(AuditTrails, KeepRowsWhileTheyCannotBeWrittenAndGoOnByThemselves)
{
    Publish(NotificationKind::LoggedIn, "first");
    EXPECT_FALSE(trail.IsWritable()) << "the folder is missing";
    for (std::size_t count = 0; count < AuditTrail::maximumQueued + 5; ++count)
    {
        Publish(NotificationKind::CommandExecuted);
    }
    ASSERT_EQ(log.GetEntries().size(), 1U);
    EXPECT_THAT(log.GetEntries()[0].message, HasSubstr("the audit trail cannot be written, commands are refused: "));
    std::filesystem::create_directory(folder.GetPath("state"));
    std::jthread thread([this] { loop.Run(3); });
    EXPECT_TRUE(Tests::Support::Eventually([this] { return trail.IsWritable(); }));
    loop.Stop();
    thread.join();
    const auto rows = GetRows();
    ASSERT_EQ(rows.size(), AuditTrail::maximumQueued + 1);
    EXPECT_EQ(rows[0], "LoggedIn first");
    EXPECT_EQ(rows[1], "AuditNotWritable " + path);
    EXPECT_EQ(rows.back(), "AuditWritable " + path);
    EXPECT_THAT(AuditStore(path).List({.limit = 1})[0].details, HasSubstr(R"("lost":"7")"));
    EXPECT_THAT(log.GetEntries().back().message, HasSubstr("can be written again; 7 rows were lost"));
    EXPECT_EQ(log.GetEntries().size(), 2U);
}

TEST_F(AuditTrails, LoseNothingThatWasStoredWhenTheDiskBecomesFull)
{
    std::filesystem::create_directory(folder.GetPath("state"));
    Publish(NotificationKind::LoggedIn, "before");
    {
        const FullDisk disk(30'000);
        for (int count = 0; count < 10 && trail.IsWritable(); ++count)
        {
            Publish(NotificationKind::CommandExecuted);
        }
        EXPECT_FALSE(trail.IsWritable());
        Publish(NotificationKind::CommandRefused, "meanwhile");
        EXPECT_FALSE(trail.IsWritable());
    }
    std::this_thread::yield();
    EXPECT_TRUE(Tests::Support::Eventually(
        [this]
        {
            trail.Commit();
            return trail.IsWritable();
        }));
    const auto rows = GetRows();
    EXPECT_EQ(rows.front(), "LoggedIn before");
    EXPECT_THAT(rows, testing::Contains("CommandRefused meanwhile"));
    EXPECT_EQ(rows.back(), "AuditWritable " + path);
    EXPECT_EQ(AuditStore(path).Verify().fault, "");
}

TEST_F(AuditTrails, TellWhatWasLeftOutWhenTheHostStops)
{
    std::filesystem::create_directory(folder.GetPath("state"));
    for (unsigned count = 0; count < AuditLimiter::burst + 3; ++count)
    {
        trail.Add(MakeNotification(NotificationKind::LogInFailed));
    }
    Publish(NotificationKind::HostStopped);
    EXPECT_EQ(GetRows().size(), AuditLimiter::burst + 1);
    EXPECT_THAT(AuditStore(path).List({.limit = 1})[0].details, HasSubstr(R"("leftOutLogInFailed":"3")"));
}

TEST_F(AuditTrails, FindACrashByTheMissingEndOfARun)
{
    EXPECT_FALSE(trail.FindCrash({}).has_value()) << "there was no run";
    EXPECT_TRUE(trail.FindCrash("SIGSEGV").has_value()) << "before it had started";
    std::filesystem::create_directory(folder.GetPath("state"));
    Publish(NotificationKind::HostStarted);
    auto crash = trail.FindCrash({});
    ASSERT_TRUE(crash.has_value());
    EXPECT_EQ(crash->fields[0].second, "the process ended without stopping");
    EXPECT_EQ(trail.FindCrash("SIGSEGV in 'x'")->fields[0].second, "SIGSEGV in 'x'");
    Publish(NotificationKind::HostStopped);
    EXPECT_FALSE(trail.FindCrash({}).has_value());
}

TEST(LimitingRows, BoundsWhatStrangersAndUsersCauseAndCountsWhatIsLeftOut)
{
    AuditLimiter limiter;
    AuditLimiter::Clock::time_point now{};
    const auto admit = [&](NotificationKind kind, const BasicString& user = {})
    {
        return limiter.Admit(MakeNotification(kind, "text", user), now);
    };
    for (unsigned count = 0; count < AuditLimiter::burst; ++count)
    {
        EXPECT_TRUE(admit(NotificationKind::LogInFailed, std::to_string(count)).isAdmitted);
        EXPECT_TRUE(admit(NotificationKind::LoggedIn, "anna").isAdmitted);
    }
    EXPECT_FALSE(admit(NotificationKind::LogInFailed, "another name").isAdmitted) << "the name is only claimed";
    EXPECT_FALSE(admit(NotificationKind::LogInFailed).isAdmitted);
    EXPECT_FALSE(admit(NotificationKind::LoggedIn, "anna").isAdmitted);
    EXPECT_TRUE(admit(NotificationKind::LoggedIn, "bert").isAdmitted) << "not hidden by others";
    EXPECT_TRUE(admit(NotificationKind::LogInThrottled).isAdmitted) << "each kind for itself";
    for (unsigned count = 0; count < 10 * AuditLimiter::burst; ++count)
    {
        EXPECT_TRUE(admit(NotificationKind::CommandExecuted, "anna").isAdmitted) << "never left out";
    }
    for (unsigned count = 0; count < AuditLimiter::burst; ++count)
    {
        EXPECT_TRUE(admit(NotificationKind::CommandRequested, "anna").isAdmitted) << "its failure is counted, not it";
        EXPECT_TRUE(admit(NotificationKind::CommandFailed, "anna").isAdmitted);
    }
    EXPECT_FALSE(admit(NotificationKind::CommandRequested, "anna").isAdmitted);
    EXPECT_FALSE(admit(NotificationKind::CommandFailed, "anna").isAdmitted);
    EXPECT_TRUE(admit(NotificationKind::CommandRequested, "bert").isAdmitted);
    auto mayBeDone = MakeNotification(NotificationKind::CommandFailed, "text", "anna");
    mayBeDone.fields.emplace_back("outcome", "unknown");
    EXPECT_TRUE(limiter.Admit(mayBeDone, now).isAdmitted);
    now += AuditLimiter::interval;
    EXPECT_TRUE(admit(NotificationKind::CommandRequested, "anna").isAdmitted);
    EXPECT_EQ(admit(NotificationKind::CommandFailed, "anna").leftOut, 1U);
    const auto admission = admit(NotificationKind::LogInFailed);
    EXPECT_TRUE(admission.isAdmitted);
    EXPECT_EQ(admission.leftOut, 2U);
    EXPECT_FALSE(admit(NotificationKind::LogInFailed).isAdmitted);
    EXPECT_THAT(limiter.TakeLeftOut(), ElementsAre(std::pair("LogInFailed", 1U), std::pair("LoggedIn", 1U)));
    EXPECT_TRUE(limiter.TakeLeftOut().empty());
}

} // namespace
} // namespace Oxa::Host::Audit
