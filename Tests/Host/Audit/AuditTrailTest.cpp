#include "Host/Audit/AuditTrail.hpp"

#include "Host/Audit/AuditLog.hpp"
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
    for (unsigned count = 0; count < AuditTrail::burst + 3; ++count)
    {
        trail.Add(MakeNotification(NotificationKind::LogInFailed));
    }
    Publish(NotificationKind::HostStopped);
    EXPECT_EQ(GetRows().size(), AuditTrail::burst + 1);
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

/// Of the trail, with a clock that stands still.
class LimitingRows : public testing::Test
{
protected:
    static constexpr unsigned burst = 60;

    std::optional<AuditLimiter::Fields> Admit(NotificationKind kind, const BasicString& user = {},
                                              const BasicString& outcome = {})
    {
        auto notification = MakeNotification(kind, "text", user);
        notification.fields.emplace_back("outcome", outcome);
        return limiter.Admit(notification, now);
    }

    /// How many of so many are admitted.
    unsigned Count(unsigned number, NotificationKind kind, const BasicString& user = {})
    {
        unsigned admitted = 0;
        for (unsigned each = 0; each < number; ++each)
        {
            admitted += Admit(kind, user) ? 1 : 0;
        }
        return admitted;
    }

    AuditLimiter limiter{burst, std::chrono::minutes(1)};
    AuditLimiter::Clock::time_point now{};
};

TEST_F(LimitingRows, BoundsWhatStrangersAndUsersCauseAndCountsWhatIsLeftOut)
{
    for (const auto kind : {NotificationKind::LogInFailed, NotificationKind::LogInThrottled})
    {
        EXPECT_EQ(Count(burst + 1, kind, "anna"), burst);
        EXPECT_FALSE(Admit(kind, "another name")) << "the name is only claimed";
    }
    for (const auto kind : {NotificationKind::LoggedIn, NotificationKind::LoggedOut, NotificationKind::SessionExpired,
                            NotificationKind::SessionEndedByOther, NotificationKind::RightsRefused,
                            NotificationKind::CrossOriginRefused, NotificationKind::CommandRefused,
                            NotificationKind::PasswordConfirmed, NotificationKind::PasswordConfirmationFailed})
    {
        EXPECT_EQ(Count(burst + 1, kind, "anna"), burst) << GetNotificationKindName(kind);
        EXPECT_TRUE(Admit(kind, "bert")) << "not hidden by others";
    }
    for (const auto kind : {NotificationKind::CommandRequested, NotificationKind::CommandExecuted,
                            NotificationKind::UserAdded, NotificationKind::UserChanged, NotificationKind::UserRemoved,
                            NotificationKind::TokenAdded, NotificationKind::ConfigurationReloaded})
    {
        EXPECT_EQ(Count(10 * burst, kind, "anna"), 10 * burst) << GetNotificationKindName(kind);
    }
    now += std::chrono::minutes(1);
    EXPECT_THAT(Admit(NotificationKind::LogInFailed).value(), ElementsAre(std::pair("leftOut", "2")));
    EXPECT_FALSE(Admit(NotificationKind::LogInFailed));
    const auto fields = Admit(NotificationKind::HostStopped).value();
    EXPECT_THAT(fields, testing::Contains(std::pair("leftOutLogInFailed", "1")));
    EXPECT_THAT(fields, testing::Contains(std::pair("leftOutRightsRefused", "1")));
    EXPECT_THAT(Admit(NotificationKind::HostStopped).value(), ElementsAre()) << "once";
}

TEST_F(LimitingRows, NeverLeavesOutThatACommandWasRequestedAndTellsWhenItMustNotFail)
{
    for (unsigned count = 0; count < burst; ++count)
    {
        EXPECT_TRUE(limiter.AdmitsFailureOf("anna", now)) << count;
        EXPECT_TRUE(Admit(NotificationKind::CommandFailed, "anna", "failure"));
    }
    EXPECT_FALSE(limiter.AdmitsFailureOf("anna", now));
    EXPECT_TRUE(limiter.AdmitsFailureOf("bert", now));
    EXPECT_FALSE(Admit(NotificationKind::CommandFailed, "anna", "failure")) << "of another command in progress";
    EXPECT_TRUE(Admit(NotificationKind::CommandRequested, "anna"));
    EXPECT_TRUE(Admit(NotificationKind::CommandFailed, "anna", "unknown")) << "it may have been carried out";
    now += std::chrono::minutes(1);
    EXPECT_TRUE(limiter.AdmitsFailureOf("anna", now));
    EXPECT_THAT(Admit(NotificationKind::CommandFailed, "anna").value(), ElementsAre(std::pair("leftOut", "1")));
    EXPECT_FALSE(limiter.AdmitsFailureOf("anna", now));
}

TEST(WritingTheAuditLog, BoundsTheLinesOfOneUserAndHidesNoOthers)
{
    const Tests::Support::LogRecorder recorder{System::Commons::Diagnostics::Logging::LogLevel::Information};
    const auto count = [&recorder]
    {
        return recorder.GetEntries().size();
    };
    AuditLog log;
    AuditLimiter::Clock::time_point now{};
    for (unsigned number = 0; number < AuditLog::burst + 5; ++number)
    {
        log.Write(MakeNotification(NotificationKind::RightsRefused, "text", "anna"), now);
    }
    EXPECT_EQ(count(), AuditLog::burst);
    log.Write(MakeNotification(NotificationKind::RightsRefused, "text", "bert"), now);
    EXPECT_EQ(count(), AuditLog::burst + 1);
    now += std::chrono::seconds(6);
    log.Write(MakeNotification(NotificationKind::RightsRefused, "text", "anna"), now);
    EXPECT_EQ(recorder.GetEntries().back().message, "RightsRefused source='' user='anna' text='text' leftOut='5'");
}

} // namespace
} // namespace Oxa::Host::Audit
