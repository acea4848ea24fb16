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

OsReleaseSource::OsReleaseSource(std::vector<std::shared_ptr<KeptFile>> files, std::vector<BasicString> fields)
    : files(std::move(files)), fields(std::move(fields))
{
}

OsReleaseSource::~OsReleaseSource() = default;

ItemReading OsReleaseSource::Read(const ReadPass&)
{
    BasicString causes;
    for (const auto& file : files)
    {
        ItemReading reading = ReadFrom(*file);
        if (reading.HasValue())
        {
            return reading;
        }
        causes += (causes.empty() ? "" : "; ") + reading.cause;
    }
    return ItemReading::Missing(std::move(causes));
}

BasicString OsReleaseSource::Describe() const
{
    return fmt::format("field {} of {}", fmt::join(fields, " or "), files.front()->GetPath());
}

ItemReading OsReleaseSource::ReadFrom(KeptFile& file) const
{
    std::array<char, KeptFile::pageBytes> buffer;
    const KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return ItemReading::Missing(file.DescribeError(content.error));
    }
    for (const BasicString& field : fields)
    {
        if (const BasicString value = FindField(content.text, field); !value.empty())
        {
            return ItemReading::OfText(value);
        }
    }
    return ItemReading::Missing(fmt::format("'{}' has no field {}", file.GetPath(), fmt::join(fields, " or ")));
}

} // namespace Oxa::Device::Linux::Items
