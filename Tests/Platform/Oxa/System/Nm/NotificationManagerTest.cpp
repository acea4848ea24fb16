#include "Oxa/System/Nm/NotificationManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Support/LogRecorder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <set>
#include <stdexcept>
#include <thread>
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

void PublishNumbers(NotificationManager& manager, std::size_t count)
{
    for (std::size_t number = 0; number < count; ++number)
    {
        manager.Publish(MakeNotification(number));
    }
}

/// Holds its first call until it is opened; what it heard may be read once the subscription is gone.
struct FakeSlowSubscriber
{
    void Hear(const Notification& notification)
    {
        if (heard.empty())
        {
            firstCall.set_value();
            opened.get_future().wait();
        }
        heard.push_back(notification);
    }

    std::promise<void> firstCall;
    std::promise<void> opened;
    std::vector<Notification> heard;
};

TEST(PublishingNotifications, ShowsEverySubscriberTheSameOrder)
{
    constexpr std::size_t publishers = 4;
    constexpr std::size_t each = NotificationManager::maximumWaiting / publishers;
    NotificationManager manager;
    std::vector<BasicString> heard[2];
    auto first = manager.Subscribe([&heard](const Notification& it) { heard[0].push_back(it.text); });
    auto second = manager.Subscribe([&heard](const Notification& it) { heard[1].push_back(it.text); });
    {
        std::vector<std::jthread> threads;
        for (std::size_t number = 0; number < publishers; ++number)
        {
            threads.emplace_back([&manager] { PublishNumbers(manager, each); });
        }
    }
    first.reset();
    second.reset();
    EXPECT_EQ(heard[0].size(), publishers * each);
    EXPECT_EQ(heard[0], heard[1]);
}

TEST(PublishingNotifications, SetsTheTimeOnlyWhenThereIsNone)
{
    const DateTime given(630822816000000000, DateTimeKind::Utc);
    NotificationManager manager;
    std::vector<DateTime> times;
    auto subscription = manager.Subscribe([&times](const Notification& it) { times.push_back(it.time); });
    Notification notification = MakeNotification(0);
    manager.Publish(notification);
    notification.time = given;
    manager.Publish(notification);
    subscription.reset();
    ASSERT_EQ(times.size(), 2u);
    EXPECT_EQ(times[0].GetKind(), DateTimeKind::Utc);
    EXPECT_GT(times[0].GetTicks(), given.GetTicks());
    EXPECT_EQ(times[1], given);
}

TEST(PublishingNotifications, DoesNotWaitForASlowSubscriberThatLosesItsOldest)
{
    constexpr std::size_t tooMany = 7;
    NotificationManager manager;
    FakeSlowSubscriber slow;
    auto subscription = manager.Subscribe([&slow](const Notification& it) { slow.Hear(it); });
    manager.Publish(MakeNotification(0));
    slow.firstCall.get_future().wait();
    PublishNumbers(manager, NotificationManager::maximumWaiting + tooMany);
    slow.opened.set_value();
    subscription.reset();

    ASSERT_EQ(slow.heard.size(), NotificationManager::maximumWaiting + 2);
    EXPECT_EQ(slow.heard[1].kind, NotificationKind::NotificationsLost);
    EXPECT_THAT(slow.heard[1].fields, Contains(std::pair<BasicString, BasicString>("count", "7")));
    EXPECT_NE(slow.heard[1].time.GetTicks(), 0u);
    EXPECT_EQ(slow.heard[2].text, std::to_string(tooMany));
    EXPECT_EQ(slow.heard.back().text, std::to_string(NotificationManager::maximumWaiting + tooMany - 1));
}

TEST(PublishingNotifications, GoesOnWithASubscriberThatThrows)
{
    Tests::Support::LogRecorder log;
    NotificationManager manager;
    std::size_t calls = 0;
    auto subscription = manager.Subscribe(
        [&calls](const Notification&)
        {
            if (++calls == 1)
            {
                throw std::runtime_error("disk is full");
            }
            throw 42;
        });
    PublishNumbers(manager, 3);
    subscription.reset();
    EXPECT_EQ(calls, 3u);
    using Entry = Tests::Support::LogRecorder::Entry;
    EXPECT_THAT(log.GetEntries(), Contains(Field(&Entry::message, HasSubstr("disk is full"))));
    EXPECT_THAT(log.GetEntries(), Contains(Field(&Entry::message, HasSubstr("unknown exception"))).Times(2));
}

TEST(Subscribing, RefusesAnEmptyFunction)
{
    NotificationManager manager;
    EXPECT_THROW((void)manager.Subscribe({}), System::Commons::ArgumentException);
}

TEST(EndingASubscription, DeliversWhatWasPublishedAndNothingAfter)
{
    NotificationManager manager;
    std::size_t calls = 0;
    auto subscription = manager.Subscribe([&calls](const Notification&) { ++calls; });
    PublishNumbers(manager, 100);
    subscription.reset();
    PublishNumbers(manager, 100);
    EXPECT_EQ(calls, 100u);
}

TEST(EndingASubscription, IsPossibleAfterTheManagerIsGone)
{
    std::size_t calls = 0;
    auto manager = std::make_unique<NotificationManager>();
    auto subscription = manager->Subscribe([&calls](const Notification&) { ++calls; });
    manager->Publish(MakeNotification(0));
    manager.reset();
    subscription.reset();
    EXPECT_EQ(calls, 1u);
}

TEST(EndingASubscription, FromWithinItsOwnFunctionDropsWhatWaits)
{
    NotificationManager manager;
    std::unique_ptr<Subscription> subscription;
    std::promise<void> published;
    std::promise<void> functionIsGone;
    // Destroyed with the function, at the end of the delivering thread.
    std::shared_ptr<int> guard(new int(0),
                               [&functionIsGone](const int* calls)
                               {
                                   EXPECT_EQ(*calls, 1);
                                   delete calls;
                                   functionIsGone.set_value();
                               });
    auto hear = [&subscription, &published, calls = std::move(guard)](const Notification&)
    {
        ++*calls;
        published.get_future().wait();
        subscription.reset();
    };
    subscription = manager.Subscribe(std::move(hear));
    PublishNumbers(manager, 10);
    published.set_value();
    functionIsGone.get_future().wait();
    EXPECT_EQ(subscription, nullptr);
}

TEST(NamingNotificationKinds, GivesEveryKindANameOfItsOwn)
{
    std::set<std::string_view> names;
    const auto last = static_cast<uint16>(NotificationKind::NotificationsLost);
    for (uint16 number = 0; number <= last; ++number)
    {
        names.insert(GetNotificationKindName(static_cast<NotificationKind>(number)));
    }
    EXPECT_EQ(names.size(), last + 1u);
    EXPECT_EQ(names.count("Unknown"), 1u);
}

} // namespace
} // namespace Oxa::System::Nm
