#include "Device/Identity/BootIdSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Identity
{

BootIdSource::BootIdSource(std::shared_ptr<const BootIdentity> identity) : identity(std::move(identity)) {}

BootIdSource::~BootIdSource() = default;

Items::ItemReading BootIdSource::Read(const Items::ReadPass&)
{
    return Items::ItemReading::OfText(identity->Get());
}

BasicString BootIdSource::Describe() const
{
    return "boot id of the machine, another one after each simulated restart";
}

} // namespace Oxa::Device::Linux::Identity
