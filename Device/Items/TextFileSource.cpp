#include "Device/Items/TextFileSource.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Items
{

TextFileSource::TextFileSource(BasicString path) : file(std::move(path)) {}

TextFileSource::~TextFileSource() = default;

ItemReading TextFileSource::Read(const ReadPass&)
{
    std::array<char, KeptFile::pageBytes> buffer;
    const KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return ItemReading::Missing(file.DescribeError(content.error));
    }
    const std::string_view text = DeviceText::Trim(content.text);
    if (DeviceText::IsPlaceholder(text))
    {
        return ItemReading::Missing(fmt::format("'{}' holds only '{}'", file.GetPath(), text));
    }
    return ItemReading::OfText(text);
}

BasicString TextFileSource::Describe() const
{
    return "file " + file.GetPath();
}

} // namespace Oxa::Device::Linux::Items
