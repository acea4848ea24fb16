#include "Host/Modules/ModuleLifecycle.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace Oxa::Host::Modules
{

using namespace std::chrono_literals;

namespace
{

using Clock = ModuleLifecycle::Clock;
using Outcome = ModuleLifecycle::Outcome;

constexpr Clock::time_point start{1h};

ModuleLifecycle::GetEpoch Look(const Epochs& epochs)
{
    return [&epochs](const BasicString& name)
    {
        return epochs.at(name);
    };
}

TEST(ModuleLifecycles, AreDueWhenServicesChangeOrMayHaveRecovered)
{
    struct Case
    {
        const char* what;
        Epochs used;
        Outcome outcome;
        Epochs current;
        /// After the end of the set-up, which takes 1 s.
        std::optional<std::chrono::seconds> due;
    };

    const Case cases[] = {
        {"all is well", {{"A", 1}}, Outcome::Complete, {{"A", 1}}, {}},
        {"lost", {{"A", 1}}, Outcome::Complete, {{"A", 0}}, {}},
        {"another run", {{"A", 1}}, Outcome::Complete, {{"A", 2}}, 1s},
        {"appeared", {{"A", 0}}, Outcome::Incomplete, {{"A", 2}}, 1s},
        {"another run beside one that is lost", {{"A", 1}, {"B", 2}}, Outcome::Complete, {{"A", 0}, {"B", 3}}, 1s},
        {"still missing", {{"A", 0}}, Outcome::Incomplete, {{"A", 0}}, {}},
        {"unavailable with all services", {{"A", 1}}, Outcome::Incomplete, {{"A", 1}}, 2s},
        {"unavailable for its own reasons", {}, Outcome::Incomplete, {}, {}},
        {"failed", {}, Outcome::Failed, {}, 2s},
        {"failed without services", {{"A", 0}}, Outcome::Failed, {{"A", 0}}, 2s},
        {"failed, and another run", {{"A", 1}}, Outcome::Failed, {{"A", 2}}, 1s},
    };
    for (const Case& each : cases)
    {
        ModuleLifecycle lifecycle;
        EXPECT_LE(lifecycle.FindDueTime(Look(each.current)).value(), start) << "first set-up";
        lifecycle.BeginSetup(start);
        EXPECT_EQ(lifecycle.FindDueTime(Look(each.current)), std::nullopt) << each.what << ": in progress";
        EXPECT_EQ(lifecycle.GetSetupBegin(), start);
        lifecycle.EndSetup(start + 1s, each.used, each.outcome);
        EXPECT_EQ(lifecycle.GetSetupBegin(), std::nullopt);
        const auto due = lifecycle.FindDueTime(Look(each.current));
        ASSERT_EQ(due.has_value(), each.due.has_value()) << each.what;
        EXPECT_EQ(due.value_or(start), each.due ? start + 1s + *each.due : start) << each.what;
    }
}

TEST(ModuleLifecycles, PauseLongerAfterEachFailureAndShortlyAgainAfterASuccess)
{
    ModuleLifecycle lifecycle;
    const Outcome failed = Outcome::Failed;
    const Outcome complete = Outcome::Complete;
    const std::pair<Outcome, std::chrono::seconds> steps[] = {
        {failed, 2s},  {failed, 4s},  {failed, 8s},   {failed, 16s}, {failed, 32s},
        {failed, 64s}, {failed, 64s}, {complete, 0s}, {failed, 2s},  {failed, 4s}};
    for (const auto& [outcome, pause] : steps)
    {
        lifecycle.BeginSetup(start);
        lifecycle.EndSetup(start, {}, outcome);
        EXPECT_EQ(lifecycle.FindDueTime(Look({})).value_or(start), start + pause);
    }
}

/// Plays what happens to a module with two providers: runs that end, come back or are replaced, and set-ups that take
/// their time and fail now and then, each begun when it is due.
class History final
{
public:
    explicit History(unsigned seed) : random(seed + 1) {}

    void Play()
    {
        for (int step = 0; step < 20; ++step)
        {
            now += std::chrono::milliseconds(Pick(3000));
            Change(Pick(2) == 0 ? "A" : "B");
            Continue(Pick(4) == 0 ? Outcome::Failed : Outcome::Complete);
        }
        Settle();
    }

private:
    unsigned Pick(unsigned bound)
    {
        return static_cast<unsigned>((random() >> 8U) % bound);
    }

    void Change(const BasicString& name)
    {
        uint64& epoch = current.at(name);
        const uint64 before = epoch;
        // Lost, back as the same run, or another run.
        epoch = before != 0 ? 0 : (Pick(3) == 0 ? runs[name] : ++lastEpoch);
        runs[name] = before != 0 ? before : epoch;
    }

    /// Ends the set-up in progress or begins the one that is due.
    void Continue(Outcome outcome)
    {
        if (lifecycle.GetSetupBegin())
        {
            lifecycle.EndSetup(now, used, outcome);
            isServing = outcome == Outcome::Complete;
            return;
        }
        const auto due = lifecycle.FindDueTime(Look(current));
        if (!due || *due > now)
        {
            return;
        }
        ASSERT_FALSE(lastBegin && now - *lastBegin < ModuleLifecycle::minimumInterval) << "too often";
        const bool isAnyNew = std::ranges::any_of(current, [this](const auto& each)
                                                  { return each.second != 0 && each.second != used[each.first]; });
        ASSERT_TRUE(isAnyNew || !isServing) << "for nothing";
        lastBegin = now;
        lifecycle.BeginSetup(now);
        used = current;
    }

    /// Nothing changes any more, and every set-up succeeds: the module is soon up with the available services.
    void Settle()
    {
        current = {{"A", ++lastEpoch}, {"B", ++lastEpoch}};
        const auto end = now + ModuleLifecycle::minimumInterval + 1s;
        for (; now <= end; now += 1s)
        {
            Continue(Outcome::Complete);
        }
        EXPECT_TRUE(isServing && used == current);
        EXPECT_EQ(lifecycle.FindDueTime(Look(current)), std::nullopt);
    }

    std::minstd_rand random;
    Clock::time_point now = start;
    ModuleLifecycle lifecycle;
    std::optional<Clock::time_point> lastBegin;
    uint64 lastEpoch = 2;
    Epochs current{{"A", 1}, {"B", 2}};
    Epochs runs{{"A", 1}, {"B", 2}};
    Epochs used;
    bool isServing = false;
};

TEST(ModuleLifecycles, BringTheModuleUpWithTheAvailableServicesAfterAnyHistory)
{
    constexpr unsigned histories = 100'000;
    for (unsigned seed = 0; seed < histories && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE(seed);
        History(seed).Play();
    }
}

} // namespace

} // namespace Oxa::Host::Modules
