#pragma once

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <systemd/sd-bus.h>

#include <chrono>
#include <memory>
#include <string_view>

namespace Oxa::System::Rsc::Internal
{

/// Owners of reference-counted objects of sd-bus. None of the counters is atomic: a bus, its messages and its slots are
/// taken and released by one thread at a time; only the contents of a message may be read and written beside that.
template <class T, T* (*Release)(T*)>
struct BusReleaser
{
    void operator()(T* object) const noexcept
    {
        Release(object);
    }
};

using BusHandle = std::unique_ptr<sd_bus, BusReleaser<sd_bus, &sd_bus_close_unref>>;
using MessageHandle = std::unique_ptr<sd_bus_message, BusReleaser<sd_bus_message, &sd_bus_message_unref>>;
using SlotHandle = std::unique_ptr<sd_bus_slot, BusReleaser<sd_bus_slot, &sd_bus_slot_unref>>;

/// For the result of a function of sd-bus: throws InvalidOperationException, "what: cause", when it is negative.
void RequireSuccess(int result, std::string_view what);

/// Whether an error means that the peer has closed the connection.
[[nodiscard]] bool IsHangUp(int error) noexcept;

/// A bus that is not started yet. File descriptors in messages are refused: no operation takes any. Throws
/// InvalidOperationException.
[[nodiscard]] BusHandle MakeBus();

/// The milliseconds until the deadline, rounded up, at least 0: for poll.
[[nodiscard]] int GetPollTimeout(std::chrono::steady_clock::time_point deadline) noexcept;

/// An unconnected Unix stream socket that does not block; none with errno.
[[nodiscard]] System::Commons::FileDescriptor MakeSocket() noexcept;

/// As `connect` and `bind`, with a path: 0, or -1 with errno.
[[nodiscard]] int ConnectSocket(int descriptor, const BasicString& path) noexcept;
[[nodiscard]] int BindSocket(int descriptor, const BasicString& path) noexcept;

} // namespace Oxa::System::Rsc::Internal
