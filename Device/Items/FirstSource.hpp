#pragma once

#include "Device/Items/IItemSource.hpp"

#include <memory>
#include <vector>

namespace Oxa::Device::Linux::Items
{

/// The first of several sources that gives a value; asked in their order at every read. Threads: as its sources.
class FirstSource final : public IItemSource
{
public:
    /// Requires: at least one source, none of them null.
    explicit FirstSource(std::vector<std::unique_ptr<IItemSource>> sources);
    ~FirstSource() override;

    /// Without a value, the causes of all.
    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::vector<std::unique_ptr<IItemSource>> sources;
};

} // namespace Oxa::Device::Linux::Items
