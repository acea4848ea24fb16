#include "Oxa/System/Rsc/Internal/BusOpening.hpp"

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

} // namespace

BusHandle MakeBus()
{
    sd_bus* made = nullptr;
    Require(sd_bus_new(&made));
    BusHandle bus(made);
    Require(sd_bus_negotiate_fds(made, 0));
    return bus;
}

} // namespace Oxa::System::Rsc::Internal
