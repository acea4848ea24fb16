#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/Internal/BusHandles.hpp"
#include "Oxa/System/Rsc/RscOperation.hpp"

#include <cstddef>
#include <deque>
#include <memory>
#include <set>
#include <span>
#include <string_view>
#include <vector>

namespace Oxa::System::Rsc
{
class IRscServiceProxyFactory;
class RscServiceSlot;
} // namespace Oxa::System::Rsc

namespace Oxa::System::Rsc::Internal
{

/// What the process offers to others: every service interface with operations that was ever registered, with the table
/// that sd-bus wants of it. Owned by the server's loop. Threads: one at a time; the entries stay where they are and as
/// they are, and may be read by all.
class ServerCatalog final : private System::Commons::Diagnostics::Logging::Loggable<ServerCatalog>
{
public:
    struct Service
    {
        BasicString path;
        BasicString busInterfaceName;
        std::shared_ptr<RscServiceSlot> slot;
        std::span<const RscOperation> operations;
        std::vector<sd_bus_vtable> vtable;
    };

    /// `handler` is called with a pointer that is moved on by `handlerStep` bytes for each operation.
    ServerCatalog(sd_bus_message_handler_t handler, std::size_t handlerStep) noexcept;

    /// Adds, at the end, what was registered since.
    void Refresh();

    [[nodiscard]] const std::deque<Service>& GetServices() const noexcept
    {
        return services;
    }

    [[nodiscard]] bool Contains(std::string_view path, std::string_view busInterfaceName) const noexcept;

private:
    void Add(IRscServiceProxyFactory& factory, const std::shared_ptr<RscServiceSlot>& slot);
    [[nodiscard]] std::vector<sd_bus_vtable> MakeVtable(std::span<const RscOperation> operations) const;

    const sd_bus_message_handler_t handler;
    const std::size_t handlerStep;
    std::set<const RscServiceSlot*> seenSlots;
    std::deque<Service> services;
};

} // namespace Oxa::System::Rsc::Internal
