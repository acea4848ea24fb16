#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"

#include <cstddef>
#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// A property of the device tree: one of its texts, each ended by a NUL, or one of its numbers, whose cells are 32 bits
/// wide, highest byte first. Safe from any thread.
class DeviceTreeSource final : public Items::IItemSource
{
public:
    struct Options
    {
        /// Which text or number of several, from 0.
        std::size_t index = 0;
        /// How many cells make a number, 1 or 2; 0 for a text.
        std::size_t cells = 0;
    };

    /// Requires: `file` is not null.
    DeviceTreeSource(std::shared_ptr<Machine::KeptFile> file, Options options);
    ~DeviceTreeSource() override;

    /// A text or an unsigned number of as many bits as it has.
    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading ReadText(std::string_view content) const;
    [[nodiscard]] Items::ItemReading ReadNumber(std::string_view content) const;

    const std::shared_ptr<Machine::KeptFile> file;
    const Options options;
};

} // namespace Oxa::Device::Linux::Sources
