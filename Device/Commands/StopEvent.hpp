#pragma once

namespace Oxa::Device::Linux::Commands
{

/// Tells a thread that polls descriptors to stop, once and for ever. Safe from several threads.
class StopEvent final
{
public:
    /// Throws InvalidOperationException when the process has no descriptor left.
    StopEvent();
    StopEvent(const StopEvent&) = delete;
    StopEvent& operator=(const StopEvent&) = delete;
    ~StopEvent();

    void Set() noexcept;

    /// Readable once the event is set. Valid until the event is destroyed.
    [[nodiscard]] int GetDescriptor() const noexcept
    {
        return descriptor;
    }

private:
    const int descriptor;
};

} // namespace Oxa::Device::Linux::Commands
