#include "Device/Items/FileSource.hpp"

#include "Device/Items/DeviceText.hpp"
#include "Device/Items/ItemConversion.hpp"

#include <fmt/format.h>

#include <array>
#include <span>
#include <utility>

namespace Oxa::Device::Linux::Items
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
        return KeptFile::pageBytes;
    }
    const bool isText = options.type == System::Rsc::RscType::String && options.scale == 1 && options.offset == 0;
    // One more tells that there are too many.
    return isText ? textBytes : numberBytes + 1;
}

} // namespace

FileSource::FileSource(std::shared_ptr<KeptFile> file, Options options)
    : file(std::move(file)),
      options(std::move(options)),
      isScaled(this->options.scale != 1 || this->options.offset != 0),
      readBytes(GetReadBytes(this->options))
{
}

FileSource::~FileSource() = default;

ItemReading FileSource::Read(const ReadPass&)
{
    std::array<char, KeptFile::pageBytes> buffer;
    const KeptFile::Content content = file->Read(std::span(buffer).first(readBytes));
    if (content.error != 0)
    {
        return ItemReading::Missing(file->DescribeError(content.error));
    }
    return options.pattern ? ReadPiece(content.text) : ReadText(content.text);
}

BasicString FileSource::Describe() const
{
    return "file " + file->GetPath();
}

ItemReading FileSource::ReadPiece(std::string_view text) const
{
    if (text.size() == readBytes)
    {
        // The rest of the last line is missing, and with it perhaps half of a number.
        text = text.substr(0, text.rfind('\n') + 1);
    }
    const auto piece = options.pattern->Find(text);
    return piece ? ReadText(*piece)
                 : ItemReading::Missing(fmt::format("no line of '{}' fits the pattern", file->GetPath()));
}

ItemReading FileSource::ReadText(std::string_view text) const
{
    const auto* const end = text.data() + text.size();
    const bool isCut = readBytes == numberBytes + 1 && text.size() == readBytes;
    text = DeviceText::Trim(text);
    if (isCut && text.data() + text.size() == end)
    {
        return ItemReading::Missing(fmt::format("'{}' is longer than {} bytes", file->GetPath(), numberBytes));
    }
    if (text.empty() || (options.refusesPlaceholders && DeviceText::IsPlaceholder(text)))
    {
        return ItemReading::Missing(fmt::format("'{}' holds only '{}'", file->GetPath(), text));
    }
    ItemReading reading = MakeValue(text);
    if (!reading.HasValue())
    {
        reading.cause += fmt::format(" in '{}'", file->GetPath());
    }
    return reading;
}

ItemReading FileSource::MakeValue(std::string_view text) const
{
    if (!isScaled)
    {
        return ItemConversion::FromText(text, options.type);
    }
    const auto number = DeviceText::ParseReal(text);
    return number ? ItemConversion::FromNumber(*number * options.scale + options.offset, options.type)
                  : ItemReading::Missing("a text is no number");
}

} // namespace Oxa::Device::Linux::Items
