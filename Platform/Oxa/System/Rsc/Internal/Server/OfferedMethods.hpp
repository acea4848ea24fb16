#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"

#include <systemd/sd-bus.h>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// The services that one connection offers to its peer: what was registered when the connection was made. Owned by the
/// connection; everything under its lock. Requires: lives longer than the bus, which points into it.
class OfferedMethods final : private System::Commons::Diagnostics::Logging::Loggable<OfferedMethods>
{
public:
    struct Method
    {
        std::shared_ptr<const Registration> registration;
        const RscRegistration::Service* service;
        const RscOperation* operation;
    };

    /// Takes a call that came in. Called by sd-bus, on the thread that processes the connection. May throw: then sd-bus
    /// ends the connection.
    using ReceiveFunction = std::function<void(sd_bus_message& message, const Method& method)>;

    explicit OfferedMethods(ReceiveFunction receive);
    OfferedMethods(const OfferedMethods&) = delete;
    OfferedMethods& operator=(const OfferedMethods&) = delete;
    ~OfferedMethods();

    /// Once. What sd-bus does not accept is logged.
    void Offer(sd_bus& bus);

    /// Whether something that is offered has been withdrawn.
    [[nodiscard]] bool IsWithdrawn() const noexcept;

private:
    /// A service as an interface of D-Bus.
    struct Interface
    {
        OfferedMethods& owner;
        std::shared_ptr<const Registration> registration;
        const RscRegistration::Service* service;
        BasicString name;
        std::vector<sd_bus_vtable> vtable;
    };

    static int OnCall(sd_bus_message* message, void* interface, sd_bus_error* error) noexcept;
    static int OnGetRuns(sd_bus_message* message, void* methods, sd_bus_error* error) noexcept;

    void OfferService(sd_bus& bus, const std::shared_ptr<const Registration>& registration,
                      const RscRegistration::Service& service);
    void RespondWithRuns(sd_bus_message& request) const;

    const ReceiveFunction receive;
    const std::vector<std::shared_ptr<const Registration>> registrations;
    std::deque<Interface> interfaces;
};

} // namespace Oxa::System::Rsc::Internal
