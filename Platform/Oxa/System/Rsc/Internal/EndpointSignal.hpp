#pragma once

#include "Oxa/System/Commons/Mutex.hpp"

#include <memory>

namespace Oxa::System::Rsc::Internal
{

class WakeSignal;

/// The way from an endpoint to the thread that watches it: wakes that thread while there is one. Owned by the endpoint.
/// Threads: safe from any thread, also under the locks of the endpoint's parts.
class EndpointSignal final
{
public:
    EndpointSignal();
    EndpointSignal(const EndpointSignal&) = delete;
    EndpointSignal& operator=(const EndpointSignal&) = delete;
    ~EndpointSignal();

    /// From now on wakes the thread that waits for this one.
    void Connect(std::shared_ptr<WakeSignal> newTarget);
    /// Wakes nobody any more, unless another thread took over meanwhile.
    void Disconnect(const std::shared_ptr<WakeSignal>& oldTarget);

    void Wake() noexcept;

private:
    System::Commons::Mutex mutex;
    /// Null while nobody watches.
    std::shared_ptr<WakeSignal> target;
};

} // namespace Oxa::System::Rsc::Internal
