#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/KeptFile.hpp"

namespace Oxa::Device::Linux::Items
{

/// The content of a file as text: up to its first NUL, without the blanks and line ends around it. An empty text and a
/// placeholder of the manufacturer are no value. Safe from any thread.
class TextFileSource final : public IItemSource
{
public:
    explicit TextFileSource(BasicString path);
    ~TextFileSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    KeptFile file;
};

} // namespace Oxa::Device::Linux::Items
