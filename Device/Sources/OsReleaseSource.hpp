#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"

#include <memory>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// A field of a file like /etc/os-release. Safe from any thread.
class OsReleaseSource final : public Items::IItemSource
{
public:
    /// The first of the files that has one of the fields counts; of several fields, the first that is not empty.
    /// Requires: at least one file and one field, no file is null.
    OsReleaseSource(std::vector<std::shared_ptr<Machine::KeptFile>> files, std::vector<BasicString> fields);
    ~OsReleaseSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading ReadFrom(Machine::KeptFile& file, const Items::ReadPass& pass) const;

    const std::vector<std::shared_ptr<Machine::KeptFile>> files;
    const std::vector<BasicString> fields;
};

} // namespace Oxa::Device::Linux::Sources
