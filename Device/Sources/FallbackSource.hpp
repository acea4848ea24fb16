#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <memory>
#include <optional>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// Stands for a part that the machine does not have, and that is not simulated. Safe from any thread.
class AbsentSource final : public Items::IItemSource
{
public:
    /// `part`: for logs, for instance "FPGA".
    explicit AbsentSource(const BasicString& part) : cause("this machine has no " + part) {}

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& /*pass*/) override
    {
        return Items::ItemReading::Missing(cause);
    }

    [[nodiscard]] BasicString Describe() const override
    {
        return "none: " + cause;
    }

    [[nodiscard]] Items::ItemOrigin GetOrigin() const noexcept override
    {
        return Items::ItemOrigin::Absent;
    }

private:
    const BasicString cause;
};

/// A fixed value that is true of the machine. Safe from any thread.
class ConstantSource final : public Items::IItemSource
{
public:
    explicit ConstantSource(const Items::ItemValue& value) : value(value) {}

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& /*pass*/) override
    {
        return {value, {}, GetOrigin()};
    }

    [[nodiscard]] BasicString Describe() const override
    {
        return "fixed value";
    }

    [[nodiscard]] Items::ItemOrigin GetOrigin() const noexcept override
    {
        return Items::ItemOrigin::Fixed;
    }

private:
    const Items::ItemValue value;
};

/// The first of several sources that gives a value of the item's type; read in their order at every read. Threads: as
/// its sources.
class FallbackSource final : public Items::IItemSource,
                             private System::Commons::Diagnostics::Logging::Loggable<FallbackSource>
{
public:
    /// `type`: the item's; not set for any type. Requires: at least one source, none of them null.
    explicit FallbackSource(std::vector<std::unique_ptr<Items::IItemSource>> sources,
                            std::optional<System::Rsc::RscType> type = std::nullopt);

    /// The source that gives a value now, to be used in place of this; the last one when none does. Warns when the
    /// values of the item of this key are made up then, though the machine may have them later.
    [[nodiscard]] std::unique_ptr<Items::IItemSource> ChooseNow(const BasicString& key) &&;

    /// Without a value, the causes of all sources.
    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
    [[nodiscard]] Items::Simulation GetSimulation() const noexcept override;
    [[nodiscard]] Items::ItemOrigin GetOrigin() const noexcept override;

private:
    std::vector<std::unique_ptr<Items::IItemSource>> sources;
    const std::optional<System::Rsc::RscType> type;
};

} // namespace Oxa::Device::Linux::Sources
