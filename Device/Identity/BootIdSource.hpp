#pragma once

#include "Device/Identity/BootIdentity.hpp"
#include "Device/Items/IItemSource.hpp"

#include <memory>

namespace Oxa::Device::Linux::Identity
{

/// The boot identity as text. Safe from any thread.
class BootIdSource final : public Items::IItemSource
{
public:
    /// Requires: `identity` is not null.
    explicit BootIdSource(std::shared_ptr<const BootIdentity> identity);
    ~BootIdSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::shared_ptr<const BootIdentity> identity;
};

} // namespace Oxa::Device::Linux::Identity
