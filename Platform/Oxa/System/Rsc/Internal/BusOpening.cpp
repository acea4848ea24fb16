#include "Oxa/System/Rsc/Internal/BusOpening.hpp"

#include <cstdlib>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

namespace
{

void Require(int result)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category());
    }
}

BasicString GetVariable(const char* name, const BasicString& otherwise)
{
    const char* const value = secure_getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

} // namespace

BusHandle MakeBus()
{
    sd_bus* made = nullptr;
    Require(sd_bus_new(&made));
    BusHandle bus(made);
    Require(sd_bus_negotiate_fds(made, 0));
    return bus;
}

BusHandle OpenMessageBus(const BasicString& address)
{
    BusHandle bus = MakeBus();
    Require(sd_bus_set_address(bus.get(), address.c_str()));
    Require(sd_bus_set_bus_client(bus.get(), 1));
    Require(sd_bus_start(bus.get()));
    return bus;
}

BasicString ResolveBusAddress(const BasicString& address)
{
    if (address == "system")
    {
        return GetVariable("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/run/dbus/system_bus_socket");
    }
    if (address == "session")
    {
        return GetVariable("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + GetVariable("XDG_RUNTIME_DIR", "") + "/bus");
    }
    return address;
}

} // namespace Oxa::System::Rsc::Internal
