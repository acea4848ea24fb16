#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/Internal/ServerCatalog.hpp"

#include <deque>
#include <functional>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// The operations that one connection offers to its other end, in the form in which sd-bus calls them back. Owned by
/// the connection; everything under its lock. Requires: lives longer than the bus, which points into it.
class OfferedMethods final : private System::Commons::Diagnostics::Logging::Loggable<OfferedMethods>
{
public:
    /// Takes a call that came in. Out of sd-bus, on the thread that processes the connection. May throw: then sd-bus
    /// ends the connection.
    using ReceiveFunction = std::function<void(sd_bus_message& message, const ServerCatalog::Service& service,
                                               const RscOperation& operation)>;

    /// Borrows the catalog, which `MakeCatalog` made.
    OfferedMethods(ServerCatalog& catalog, ReceiveFunction receive);
    OfferedMethods(const OfferedMethods&) = delete;
    OfferedMethods& operator=(const OfferedMethods&) = delete;
    ~OfferedMethods();

    /// An empty catalog whose tables lead to this class.
    [[nodiscard]] static ServerCatalog MakeCatalog();

    /// Offers what was registered since. What sd-bus does not take is logged.
    void OfferNew(sd_bus& bus);

    /// `OfferNew` when the message calls something that is not offered yet: only that can have been registered since.
    void OfferWhatIsCalled(sd_bus& bus, sd_bus_message& message);

private:
    /// What sd-bus hands back for one operation.
    struct Method
    {
        OfferedMethods* owner;
        const ServerCatalog::Service* service;
        const RscOperation* operation;
    };

    static int OnFind(sd_bus* bus, const char* path, const char* interface, void* methods, void** found,
                      sd_bus_error* error) noexcept;
    static int OnCall(sd_bus_message* message, void* method, sd_bus_error* error) noexcept;

    void Offer(sd_bus& bus, const ServerCatalog::Service& service);

    ServerCatalog& catalog;
    const ReceiveFunction receive;
    /// For each service that is offered, in the catalog's order.
    std::deque<std::vector<Method>> methods;
};

} // namespace Oxa::System::Rsc::Internal
