#include "Device/Items/OsReleaseSource.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Items
{

namespace
{

BasicString Unquote(std::string_view text)
{
    const char quote = text.empty() ? '\0' : text.front();
    if (text.size() < 2 || (quote != '"' && quote != '\'') || text.back() != quote)
    {
        return BasicString(text);
    }
    text = text.substr(1, text.size() - 2);
    BasicString plain;
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        const bool isEscape = quote == '"' && text[index] == '\\' && index + 1 < text.size();
        plain += text[isEscape ? ++index : index];
    }
    return plain;
}

BasicString FindField(std::string_view text, std::string_view field)
{
    BasicString value;
    while (!text.empty())
    {
        std::string_view line = DeviceText::TakeUntil(text, '\n');
        if (DeviceText::Trim(DeviceText::TakeUntil(line, '=')) == field)
        {
            value = Unquote(DeviceText::Trim(line));
        }
    }
    return value;
}

} // namespace

OsReleaseSource::OsReleaseSource(BasicString path, BasicString field) : file(std::move(path)), field(std::move(field))
{
}

OsReleaseSource::~OsReleaseSource() = default;

ItemReading OsReleaseSource::Read(const ReadPass&)
{
    std::array<char, KeptFile::pageBytes> buffer;
    const KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return ItemReading::Missing(file.DescribeError(content.error));
    }
    const BasicString value = FindField(content.text, field);
    if (value.empty())
    {
        return ItemReading::Missing(fmt::format("'{}' has no field '{}'", file.GetPath(), field));
    }
    return ItemReading::OfText(value);
}

BasicString OsReleaseSource::Describe() const
{
    return fmt::format("field {} of {}", field, file.GetPath());
}

} // namespace Oxa::Device::Linux::Items
