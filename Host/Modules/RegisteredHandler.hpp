#pragma once

#include <atomic>
#include <memory>

namespace Oxa::Host::Modules
{

class ModuleGate;

/// What everything that a module registers with a handler has in common: base of the entries of a `RegisteredList`.
template <class Handler>
struct RegisteredHandler
{
    /// Never null. Called inside a visit of the gate only, and only when it is not withdrawn.
    std::shared_ptr<Handler> handler;
    /// The module's. Never null.
    std::shared_ptr<ModuleGate> gate;
    /// The module has taken it back in order to register it again. Changes only while the gate is closed, or together
    /// with the end of the registration.
    std::atomic<bool> isWithdrawn = false;
};

} // namespace Oxa::Host::Modules
