#include "Device/Sources/FileSource.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <span>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

// The kernel prepares a buffer as large as it is asked for.
constexpr std::size_t numberBytes = 128;
constexpr std::size_t textBytes = 1024;

std::size_t GetReadBytes(const FileSource::Options& options) noexcept
{
    if (options.pattern)
    {
        return Machine::KeptFile::pageBytes;
    }
    const bool isText = options.type == System::Rsc::RscType::String && options.scale == 1 && options.offset == 0;
    // One more tells that there are too many.
    return isText ? textBytes : numberBytes + 1;
}

} // namespace

FileSource::FileSource(std::shared_ptr<Machine::KeptFile> file, Options options)
    : file(std::move(file)),
      options(std::move(options)),
      isScaled(this->options.scale != 1 || this->options.offset != 0),
      readBytes(GetReadBytes(this->options))
{
}

FileSource::~FileSource() = default;

Items::ItemReading FileSource::Read(const Items::ReadPass& pass)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    const Machine::KeptFile::Content content = file->Read(std::span(buffer).first(readBytes), pass.GetWaitBudget());
    if (content.error != 0)
    {
        return Items::ItemReading::Missing(file->DescribeError(content.error));
    }
    return options.pattern ? ReadPiece(content.text) : ReadText(content.text);
}

BasicString FileSource::Describe() const
{
    return "file " + file->GetPath();
}

Items::ItemReading FileSource::ReadPiece(std::string_view text) const
{
    if (text.size() == readBytes)
    {
        // The rest of the last line is missing, and with it perhaps half of a number.
        text = text.substr(0, text.rfind('\n') + 1);
    }
    const auto piece = options.pattern->Find(text);
    if (!piece)
    {
        return Items::ItemReading::Missing(fmt::format("no line of '{}' fits the pattern", file->GetPath()));
    }
    if (Machine::DeviceText::Trim(*piece).empty())
    {
        return Items::ItemReading::Missing(fmt::format("the group of the pattern is empty in '{}'", file->GetPath()));
    }
    return ReadText(*piece);
}

Items::ItemReading FileSource::ReadText(std::string_view text) const
{
    const auto* const end = text.data() + text.size();
    const bool isCut = readBytes == numberBytes + 1 && text.size() == readBytes;
    text = Machine::DeviceText::Trim(text);
    if (isCut && text.data() + text.size() == end)
    {
        return Items::ItemReading::Missing(fmt::format("'{}' is longer than {} bytes", file->GetPath(), numberBytes));
    }
    if (text.empty() || (options.refusesPlaceholders && Machine::DeviceText::IsPlaceholder(text)))
    {
        return Items::ItemReading::Missing(fmt::format("'{}' holds only '{}'", file->GetPath(), text));
    }
    Items::ItemReading reading = MakeValue(text);
    if (!reading.HasValue())
    {
        reading.cause += fmt::format(" in '{}'", file->GetPath());
    }
    return reading;
}

Items::ItemReading FileSource::MakeValue(std::string_view text) const
{
    if (!isScaled)
    {
        return Items::ItemConversion::FromText(text, options.type);
    }
    const auto number = Machine::DeviceText::ParseReal(text);
    return number ? Items::ItemConversion::FromNumber(*number * options.scale + options.offset, options.type)
                  : Items::ItemReading::Missing("a text is no number");
}

} // namespace Oxa::Device::Linux::Sources
