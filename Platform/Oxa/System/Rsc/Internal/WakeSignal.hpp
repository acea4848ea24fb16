#pragma once

namespace Oxa::System::Rsc::Internal
{

/// Wakes a thread that waits in poll. Owned by that thread's object. Threads: safe from any thread.
class WakeSignal final
{
public:
    /// Throws InvalidOperationException when the system has no descriptor left.
    WakeSignal();
    WakeSignal(const WakeSignal&) = delete;
    WakeSignal& operator=(const WakeSignal&) = delete;
    ~WakeSignal();

    void Wake() noexcept;
    /// From now on the descriptor is not ready until the next `Wake`.
    void Clear() noexcept;
    /// Ready for POLLIN since `Wake`.
    [[nodiscard]] int GetDescriptor() const noexcept;

private:
    const int descriptor;
};

} // namespace Oxa::System::Rsc::Internal
