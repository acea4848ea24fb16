#pragma once

#include "Host/Modules/ModuleLifecycle.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <cstddef>
#include <functional>

namespace Oxa::Host::Modules
{

/// Admits calls to one module while it is set up and the services that it uses are those of the runs that it was set up
/// with. So a loss of services closes it and the return of the same run opens it, without anything being done. Shared
/// by the module's owner and by what the module has registered. Closed at first. Threads: safe from any thread.
class ModuleGate final
{
public:
    /// `order`: the module's place in the configuration. `whenEmpty` is called, on any thread and under no lock, when
    /// the last visit ends that kept `TryClose` from closing.
    explicit ModuleGate(std::size_t order = 0, std::function<void()> whenEmpty = {});
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

    [[nodiscard]] std::size_t GetOrder() const noexcept
    {
        return order;
    }

    /// Admits nothing from now on, when no call is under way. Else changes nothing and returns false.
    [[nodiscard]] bool TryClose();

    /// The module was set up with services of these epochs.
    void Open(ModuleLifecycle::Epochs newEpochs);

private:
    [[nodiscard]] bool TryEnter();
    void Leave() noexcept;

    const std::size_t order;
    const std::function<void()> whenEmpty;
    mutable System::Commons::Mutex mutex;
    bool isSetUp = false;
    bool isClosingWanted = false;
    std::size_t visits = 0;
    ModuleLifecycle::Epochs epochs;
};

} // namespace Oxa::Host::Modules
