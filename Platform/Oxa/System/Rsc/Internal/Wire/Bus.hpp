#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>

#include <chrono>
#include <memory>
#include <optional>

namespace Oxa::System::Rsc::Internal
{

struct BusCloser
{
    void operator()(sd_bus* bus) const noexcept
    {
        sd_bus_close_unref(bus);
    }
};

struct MessageReleaser
{
    void operator()(sd_bus_message* message) const noexcept
    {
        sd_bus_message_unref(message);
    }
};

struct SlotReleaser
{
    void operator()(sd_bus_slot* slot) const noexcept
    {
        sd_bus_slot_unref(slot);
    }
};

/// Owners of what sd-bus counts. None of its counters is atomic: a bus, its messages and its slots are taken and
/// released under one and the same lock; only what is written into and read out of a message needs none.
using BusHandle = std::unique_ptr<sd_bus, BusCloser>;
using MessageHandle = std::unique_ptr<sd_bus_message, MessageReleaser>;
using SlotHandle = std::unique_ptr<sd_bus_slot, SlotReleaser>;

/// A bus that is not started yet. File descriptors in messages are refused: no operation takes any. Throws
/// std::system_error.
[[nodiscard]] BusHandle MakeBus();

/// So many milliseconds until the deadline, rounded up, from 0 to `most`: for poll.
[[nodiscard]] int GetPollTimeout(std::chrono::steady_clock::time_point deadline, int most) noexcept;

/// The address of a Unix socket; none when the path is too long for one.
[[nodiscard]] std::optional<sockaddr_un> TryMakeSocketAddress(const BasicString& path) noexcept;

/// As `connect` and `bind` take it. Valid as long as `address`.
[[nodiscard]] const sockaddr* AsGeneralAddress(const sockaddr_un& address) noexcept;

} // namespace Oxa::System::Rsc::Internal
