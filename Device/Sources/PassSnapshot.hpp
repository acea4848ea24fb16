#pragma once

#include "Device/Items/ReadPass.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <mutex>
#include <optional>

namespace Oxa::Device::Linux::Sources
{

/// What the machine said about something when it was asked last: it is asked once for all items of one pass, so that
/// they fit together. Safe from several threads, which disturb each other at most by asking once more.
template <class Value>
class PassSnapshot final
{
public:
    /// `ask`: returns a new value; called under the snapshot's lock.
    template <class Ask>
    [[nodiscard]] Value Get(const Items::ReadPass& pass, const Ask& ask)
    {
        const std::lock_guard lock(mutex);
        if (lastPass != pass)
        {
            value = ask();
            lastPass = pass;
        }
        return value;
    }

private:
    System::Commons::Mutex mutex;
    std::optional<Items::ReadPass> lastPass;
    Value value;
};

} // namespace Oxa::Device::Linux::Sources
