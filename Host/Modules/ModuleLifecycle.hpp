#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <functional>
#include <map>
#include <optional>

namespace Oxa::Host::Modules
{

/// Decides when one module is set up. Knows neither the module nor a clock: time and epochs are passed in.
/// - At the start, at once.
/// - When a provider that it uses has a new epoch, at most once in `minimumInterval`.
/// - After a set-up that failed, and after one that left the module unavailable although its services are there, again
///   after 2, 4, 8, … 64 s.
/// A provider whose services are not there is a reason to wait, never a reason to set the module up.
/// Threads: one at a time.
class ModuleLifecycle final
{
public:
    using Clock = std::chrono::steady_clock;
    /// Providers and the epochs of their services; 0: not there.
    using Epochs = std::map<BasicString, uint64>;
    using GetEpoch = std::function<uint64(const BasicString& providerName)>;

    enum class Outcome
    {
        /// Everything that the module has registered is available.
        Complete,
        Incomplete,
        Failed
    };

    static constexpr std::chrono::seconds minimumInterval{2};
    static constexpr std::chrono::seconds maximumPause{64};

    /// From when on the module is to be set up. Nothing: not before an epoch changes, or before the set-up that is
    /// under way ends.
    [[nodiscard]] std::optional<Clock::time_point> FindDueTime(const GetEpoch& getEpoch) const;

    void BeginSetup(Clock::time_point now);

    /// `epochs`: of all providers that the module uses, from before it used them.
    void EndSetup(Clock::time_point now, Epochs newEpochs, Outcome newOutcome);

    /// Since when the set-up that is under way lasts; nothing when there is none.
    [[nodiscard]] std::optional<Clock::time_point> GetSetupBegin() const;

    [[nodiscard]] bool HasFailed() const noexcept
    {
        return outcome == Outcome::Failed;
    }

    /// Whether a set-up has ended.
    [[nodiscard]] bool HasEnded() const noexcept
    {
        return outcome.has_value();
    }

private:
    Epochs epochs;
    std::optional<Outcome> outcome;
    bool isUnderWay = false;
    Clock::time_point begin;
    Clock::time_point nextAttempt;
    std::chrono::seconds pause = minimumInterval;
};

} // namespace Oxa::Host::Modules
