#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>

namespace Oxa::Host::Modules
{

/// Providers and the epochs of their services; 0: the services are missing.
using Epochs = std::map<BasicString, uint64>;

/// Decides when one module is set up. Knows neither the module nor a clock: time and epochs are passed in.
/// - At the start, at once.
/// - When a provider that it uses has a new epoch, at most once in `minimumInterval`.
/// - After a set-up that failed, and after one that left the module unavailable although its services are available,
///   again after 2, 4, 8, … 64 s.
/// A provider whose services are missing is a reason to wait, never a reason to set the module up.
/// Threads: one at a time.
class ModuleLifecycle final
{
public:
    using Clock = std::chrono::steady_clock;
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

    /// From when on the module is to be set up. Empty: not before an epoch changes, or before the set-up in progress
    /// ends.
    [[nodiscard]] std::optional<Clock::time_point> FindDueTime(const GetEpoch& getEpoch) const;

    void BeginSetup(Clock::time_point now);

    /// `newEpochs`: of all providers that the module uses, from before it used them.
    void EndSetup(Clock::time_point now, Epochs newEpochs, Outcome newOutcome);

    /// When the set-up in progress began; empty when there is none.
    [[nodiscard]] std::optional<Clock::time_point> GetSetupBegin() const
    {
        return isInProgress ? std::make_optional(begin) : std::nullopt;
    }

    [[nodiscard]] bool HasFailed() const noexcept
    {
        return outcome == Outcome::Failed;
    }

    [[nodiscard]] bool IsComplete() const noexcept
    {
        return outcome == Outcome::Complete;
    }

    /// Of the last set-up.
    [[nodiscard]] const Epochs& GetEpochs() const noexcept
    {
        return epochs;
    }

    /// Whether a set-up has ended.
    [[nodiscard]] bool HasEnded() const noexcept
    {
        return outcome.has_value();
    }

private:
    Epochs epochs;
    std::optional<Outcome> outcome;
    bool isInProgress = false;
    Clock::time_point begin;
    System::Commons::Threading::Backoff backoff{minimumInterval, maximumPause};
};

/// Admits calls to one module while it is set up and the services that it uses are those of the runs that it was set up
/// with. So a loss of services closes it and the return of the same run opens it, without further action. Shared by the
/// module's owner and by what the module has registered. Closed at first. Threads: safe from any thread.
class ModuleGate final
{
public:
    /// `whenEmpty` is called, on any thread and under no lock, when the last visit ends that kept `TryClose` from
    /// closing.
    explicit ModuleGate(std::function<void()> whenEmpty = [] {});
    ModuleGate(const ModuleGate&) = delete;
    ModuleGate& operator=(const ModuleGate&) = delete;

    /// Spans a call of the module. When it is false the module must not be called.
    class Visit final
    {
    public:
        explicit Visit(ModuleGate& gate) : gate(gate), isAdmitted(gate.TryEnter()) {}

        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

        ~Visit()
        {
            if (isAdmitted)
            {
                gate.Leave();
            }
        }

        [[nodiscard]] explicit operator bool() const noexcept
        {
            return isAdmitted;
        }

        /// Whether no run has ended since the visit began: then all values that the module read meanwhile are of one
        /// run of each provider.
        [[nodiscard]] bool IsStillCurrent() const
        {
            return gate.IsOpen();
        }

    private:
        ModuleGate& gate;
        const bool isAdmitted;
    };

    [[nodiscard]] bool IsOpen() const;

    /// Admits nothing from now on, when no call is in progress. Else returns false, and admits no further calls.
    [[nodiscard]] bool TryClose();

    /// The module was set up with services of these epochs.
    void Open(Epochs newEpochs);

private:
    [[nodiscard]] bool TryEnter();
    void Leave() noexcept;

    const std::function<void()> whenEmpty;
    mutable System::Commons::Mutex mutex;
    bool isSetUp OXA_GUARDED_BY(mutex) = false;
    bool isClosingWanted OXA_GUARDED_BY(mutex) = false;
    std::size_t visits OXA_GUARDED_BY(mutex) = 0;
    Epochs epochs OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Modules
