#pragma once

#include "Oxa/System/Commons/Mutex.hpp"

#include <condition_variable>
#include <cstddef>

namespace Oxa::Host::Modules
{

/// Whether a module may be called, by requests and by questions alike, and how many calls are under way. Shared by the
/// module's owner and by what the module has registered. Open at first. Threads: safe from any thread.
class ModuleGate final
{
public:
    ModuleGate() = default;
    ModuleGate(const ModuleGate&) = delete;
    ModuleGate& operator=(const ModuleGate&) = delete;

    /// Spans a call of the module. When it is false the module must not be called.
    class Visit final
    {
    public:
        explicit Visit(ModuleGate& gate) noexcept : gate(gate), isAdmitted(gate.TryEnter()) {}

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

    private:
        ModuleGate& gate;
        const bool isAdmitted;
    };

    [[nodiscard]] bool IsOpen() const noexcept;

    /// Admits nobody from now on. Calls under way go on.
    void Close() noexcept;

    void Open() noexcept;

    /// Returns when no call is under way. Requires: closed, and this thread is not inside a call.
    void WaitUntilEmpty() noexcept;

private:
    [[nodiscard]] bool TryEnter() noexcept;
    void Leave() noexcept;

    mutable System::Commons::Mutex mutex;
    std::condition_variable becameEmpty;
    bool isOpen = true;
    std::size_t callsUnderWay = 0;
};

} // namespace Oxa::Host::Modules
