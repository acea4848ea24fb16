#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <memory>
#include <optional>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// The first of several sources that gives a value of the item's type; asked in their order at every read. Threads: as
/// its sources.
class FirstSource final : public Items::IItemSource
{
public:
    /// `type`: the item's; none for any type. Requires: at least one source, none of them null.
    explicit FirstSource(std::vector<std::unique_ptr<Items::IItemSource>> sources,
                         std::optional<System::Rsc::RscType> type = std::nullopt);
    ~FirstSource() override;

    /// Without a value, the causes of all.
    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

    /// Whether all of its sources are simulated.
    [[nodiscard]] bool IsSimulated() const noexcept override;
    [[nodiscard]] bool IsSimulatedAtTimes() const noexcept override;

private:
    const std::vector<std::unique_ptr<Items::IItemSource>> sources;
    const std::optional<System::Rsc::RscType> type;
};

} // namespace Oxa::Device::Linux::Sources
