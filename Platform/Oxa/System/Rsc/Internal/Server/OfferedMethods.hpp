#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"
#include "Oxa/System/Rsc/RscOperation.hpp"

#include <systemd/sd-bus.h>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// The services that one connection offers to its other end, in the form in which sd-bus calls them back: what was
/// registered when the connection was made. Owned by the connection; everything under its lock. Requires: lives longer
/// than the bus, which points into it.
class OfferedMethods final : private System::Commons::Diagnostics::Logging::Loggable<OfferedMethods>
{
public:
    /// One operation, as sd-bus hands it back.
    struct Method
    {
        OfferedMethods* owner;
        std::shared_ptr<const Registration> registration;
        const RscRegistration::Service* service;
        const RscOperation* operation;
    };

    /// Takes a call that came in. Out of sd-bus, on the thread that processes the connection. May throw: then sd-bus
    /// ends the connection.
    using ReceiveFunction = std::function<void(sd_bus_message& message, const Method& method)>;

    explicit OfferedMethods(ReceiveFunction receive);
    OfferedMethods(const OfferedMethods&) = delete;
    OfferedMethods& operator=(const OfferedMethods&) = delete;
    ~OfferedMethods();

    /// Once. Offers what is registered now, and the operation that tells about it. What sd-bus does not take is logged.
    void Offer(sd_bus& bus);

    /// Whether something that is offered has been taken back.
    [[nodiscard]] bool IsWithdrawn() const noexcept;

private:
    struct Table
    {
        BasicString path;
        BasicString interfaceName;
        std::vector<Method> methods;
        std::vector<sd_bus_vtable> vtable;
    };

    static int OnCall(sd_bus_message* message, void* method, sd_bus_error* error) noexcept;
    static int OnGetRuns(sd_bus_message* message, void* methods, sd_bus_error* error) noexcept;

    void OfferService(sd_bus& bus, const std::shared_ptr<const Registration>& registration,
                      const RscRegistration::Service& service);
    void OfferTable(sd_bus& bus, const Table& table, void* context);
    [[nodiscard]] int AnswerRuns(sd_bus_message& request) const;

    const ReceiveFunction receive;
    std::vector<std::shared_ptr<const Registration>> registrations;
    std::deque<Table> tables;
};

} // namespace Oxa::System::Rsc::Internal
