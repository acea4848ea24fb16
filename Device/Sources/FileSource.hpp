#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Sources/LinePattern.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <cstddef>
#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// The content of a file without the blanks around it, or a piece of it, as a text or a number. No more is looked at
/// than 1024 bytes for a text and the whole lines of 4096 for a piece; more than 128 are no number. Safe from any
/// thread.
class FileSource final : public Items::IItemSource
{
public:
    struct Options
    {
        /// Null: the whole content, up to its first NUL.
        std::shared_ptr<const LinePattern> pattern;
        /// The value is number × scale + offset.
        double scale = 1;
        double offset = 0;
        System::Rsc::RscType type = System::Rsc::RscType::String;
        /// Whether what a manufacturer leaves in a field that was never filled is no value.
        bool refusesPlaceholders = false;
    };

    /// Requires: `file` is not null.
    FileSource(std::shared_ptr<Machine::KeptFile> file, Options options);
    ~FileSource() override;

    /// Missing when the file cannot be read, holds nothing or nothing that fits the type.
    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading ReadPiece(std::string_view text) const;
    [[nodiscard]] Items::ItemReading ReadText(std::string_view text) const;
    [[nodiscard]] Items::ItemReading MakeValue(std::string_view text) const;

    const std::shared_ptr<Machine::KeptFile> file;
    const Options options;
    const bool isScaled;
    const std::size_t readBytes;
};

} // namespace Oxa::Device::Linux::Sources
