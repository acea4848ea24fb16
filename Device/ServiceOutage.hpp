#pragma once

#include "Device/IWaiter.hpp"
#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace Oxa::Device::Linux
{

/// The simulated restart: takes the services away and offers them again after a while, on a thread of its own, so that
/// the caller who asked for it still gets an answer.
/// Threads: safe from several threads. `Stop` must be called before what the actions touch is destroyed.
class ServiceOutage final : private System::Commons::Diagnostics::Logging::Loggable<ServiceOutage>
{
public:
    /// Called on the outage's thread, one after the other.
    struct Actions
    {
        std::function<void()> withdraw;
        std::function<void()> offerAgain;
    };

    static constexpr std::chrono::milliseconds defaultDuration = std::chrono::seconds(3);

    /// Requires: both actions have a target, `waiter` is not null.
    ServiceOutage(Actions actions, std::chrono::milliseconds duration, std::unique_ptr<IWaiter> waiter);
    ServiceOutage(const ServiceOutage&) = delete;
    ServiceOutage& operator=(const ServiceOutage&) = delete;
    ~ServiceOutage();

    /// Returns at once: Busy during an outage, NotAvailable after `Stop`, DeviceFault when no thread can be started.
    [[nodiscard]] Interface::Services::AccessErrorCode Begin();

    /// Ends an outage at once, without offering anything again; none begins any more.
    void Stop() noexcept;

private:
    enum class State
    {
        Idle,
        Down,
        Stopped
    };

    void Run() noexcept;
    void GoDownAndComeBack();
    [[nodiscard]] bool TryStartThread();

    const Actions actions;
    const std::chrono::milliseconds duration;
    const std::unique_ptr<IWaiter> waiter;

    System::Commons::Mutex mutex;
    State state = State::Idle;
    std::thread thread;
};

} // namespace Oxa::Device::Linux
