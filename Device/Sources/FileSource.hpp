#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

// NOLINTNEXTLINE(readability-identifier-naming): the library has this name.
namespace re2
{
class RE2;
}

namespace Oxa::Device::Linux::Sources
{

/// A regular expression that picks one piece out of a text, line by line. The time for a line grows with its length
/// only, whatever the expression is, and the memory of an expression is limited. Bytes are compared, not characters.
/// Safe from any thread.
class LinePattern final
{
public:
    static constexpr std::size_t maximumBytes = 256;

    LinePattern(const LinePattern&) = delete;
    LinePattern& operator=(const LinePattern&) = delete;
    ~LinePattern();

    /// The syntax is that of RE2. Null, and `fault` says why, when the expression is none, is too long, needs too much
    /// memory or has not exactly one group.
    [[nodiscard]] static std::shared_ptr<const LinePattern> TryMake(const BasicString& expression, BasicString& fault);

    /// What the group matches in the first line that the expression matches a part of; none when there is no such line.
    /// A line ends before "\n" or "\r\n". Valid as long as the text.
    [[nodiscard]] std::optional<std::string_view> Find(std::string_view text) const;

private:
    explicit LinePattern(std::unique_ptr<const re2::RE2> expression);

    const std::unique_ptr<const re2::RE2> expression;
};

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

    /// A text or an unsigned number of as many bits as it has.
    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading ReadText(std::string_view content) const;
    [[nodiscard]] Items::ItemReading ReadNumber(std::string_view content) const;

    const std::shared_ptr<Machine::KeptFile> file;
    const Options options;
};

/// A field of a file like /etc/os-release. Safe from any thread.
class OsReleaseSource final : public Items::IItemSource
{
public:
    /// The first of the files that has one of the fields counts; of several fields, the first that is not empty.
    /// Requires: at least one file and one field, no file is null.
    OsReleaseSource(std::vector<std::shared_ptr<Machine::KeptFile>> files, std::vector<BasicString> fields);

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading ReadFrom(Machine::KeptFile& file, const Items::ReadPass& pass) const;

    const std::vector<std::shared_ptr<Machine::KeptFile>> files;
    const std::vector<BasicString> fields;
};

} // namespace Oxa::Device::Linux::Sources
