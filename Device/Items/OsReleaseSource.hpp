#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/KeptFile.hpp"

namespace Oxa::Device::Linux::Items
{

/// One field of an os-release file, without its shell quotes; when the field occurs twice, the last counts, as it would
/// in a shell. Safe from any thread.
class OsReleaseSource final : public IItemSource
{
public:
    OsReleaseSource(BasicString path, BasicString field);
    ~OsReleaseSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    KeptFile file;
    const BasicString field;
};

} // namespace Oxa::Device::Linux::Items
