#include "Oxa/System/Nm/NotificationManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Support/LogRecorder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace Oxa::System::Nm
{
namespace
{

using testing::Contains;
using testing::Field;
using testing::HasSubstr;

Notification MakeNotification(std::size_t number)
{
    Notification notification;
    notification.kind = NotificationKind::CommandExecuted;
    notification.text = std::to_string(number);
    return notification;
}

TEST(PublishingNotifications, ShowsEverySubscriberTheSameOrder)
{
    constexpr std::size_t publishers = 4;
    constexpr std::size_t each = 100;
    NotificationManager manager;
    std::vector<BasicString> heard[2];
    for (auto& list : heard)
    {
        manager.Subscribe([&list](const Notification& it) { list.push_back(it.text); });
    }
    {
        std::vector<std::jthread> threads;
        for (std::size_t number = 0; number < publishers; ++number)
        {
            threads.emplace_back(
                [&manager]
                {
                    for (std::size_t count = 0; count < each; ++count)
                    {
                        manager.Publish(MakeNotification(count));
                    }
                });
        }
    }
    EXPECT_EQ(heard[0].size(), publishers * each);
    EXPECT_EQ(heard[0], heard[1]);
}

TEST(PublishingNotifications, CompletesWithoutTheLockAndBeforePublishReturns)
{
    NotificationManager manager;
    std::vector<BasicString> heard;
    bool isNested = false;
    manager.Subscribe([&heard](const Notification& it) { heard.push_back(it.text); },
                      [&]
                      {
                          if (!std::exchange(isNested, true))
                          {
                              manager.Publish(MakeNotification(2));
                              heard.emplace_back("complete");
                          }
                      });
    manager.Subscribe([&heard](const Notification& it) { heard.push_back("second " + it.text); });
    manager.Publish(MakeNotification(1));
    EXPECT_THAT(heard, testing::ElementsAre("1", "second 1", "2", "second 2", "complete"));
}

TEST(PublishingNotifications, SetsTheTimeOnlyWhenThereIsNone)
{
    const DateTime given(630822816000000000, DateTimeKind::Utc);
    NotificationManager manager;
    std::vector<DateTime> times;
    manager.Subscribe([&times](const Notification& it) { times.push_back(it.time); });
    Notification notification = MakeNotification(0);
    manager.Publish(notification);
    notification.time = given;
    manager.Publish(notification);
    ASSERT_EQ(times.size(), 2u);
    EXPECT_EQ(times[0].GetKind(), DateTimeKind::Utc);
    EXPECT_GT(times[0].GetTicks(), given.GetTicks());
    EXPECT_EQ(times[1], given);
}

TEST(PublishingNotifications, GoesOnWithASubscriberThatThrows)
{
    Tests::Support::LogRecorder log;
    NotificationManager manager;
    std::size_t calls = 0;
    manager.Subscribe(
        [&calls](const Notification&)
        {
            if (++calls == 1)
            {
                throw std::runtime_error("disk is full");
            }
            throw 42;
        });
    manager.Subscribe([&calls](const Notification&) { calls += 100; });
    manager.Publish(MakeNotification(1));
    manager.Publish(MakeNotification(2));
    EXPECT_EQ(calls, 202u);
    using Entry = Tests::Support::LogRecorder::Entry;
    EXPECT_THAT(log.GetEntries(), Contains(Field(&Entry::message, HasSubstr("disk is full"))));
    EXPECT_THROW(manager.Subscribe({}), System::Commons::ArgumentException);
}

} // namespace
} // namespace Oxa::System::Nm
