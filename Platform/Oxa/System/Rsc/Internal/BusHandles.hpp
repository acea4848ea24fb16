#pragma once

#include <systemd/sd-bus.h>

#include <memory>

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

} // namespace Oxa::System::Rsc::Internal
