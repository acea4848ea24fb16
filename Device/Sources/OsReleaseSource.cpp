#include "Device/Sources/OsReleaseSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Sources
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
        std::string_view line = Machine::DeviceText::TakeUntil(text, '\n');
        if (Machine::DeviceText::Trim(Machine::DeviceText::TakeUntil(line, '=')) == field)
        {
            value = Unquote(Machine::DeviceText::Trim(line));
        }
    }
    return value;
}

} // namespace

OsReleaseSource::OsReleaseSource(std::vector<std::shared_ptr<Machine::KeptFile>> files, std::vector<BasicString> fields)
    : files(std::move(files)), fields(std::move(fields))
{
}

OsReleaseSource::~OsReleaseSource() = default;

Items::ItemReading OsReleaseSource::Read(const Items::ReadPass& pass)
{
    BasicString causes;
    for (const auto& file : files)
    {
        Items::ItemReading reading = ReadFrom(*file, pass);
        if (reading.HasValue())
        {
            return reading;
        }
        causes += (causes.empty() ? "" : "; ") + reading.cause;
    }
    return Items::ItemReading::Missing(std::move(causes));
}

BasicString OsReleaseSource::Describe() const
{
    return fmt::format("field {} of {}", fmt::join(fields, " or "), files.front()->GetPath());
}

Items::ItemReading OsReleaseSource::ReadFrom(Machine::KeptFile& file, const Items::ReadPass& pass) const
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    const Machine::KeptFile::Content content = file.Read(buffer, pass.GetWaitBudget());
    if (content.error != 0)
    {
        return Items::ItemReading::Missing(file.DescribeError(content.error));
    }
    std::string_view text = content.text;
    if (text.size() == buffer.size())
    {
        // The rest of the last line is missing.
        text = text.substr(0, text.rfind('\n') + 1);
    }
    for (const BasicString& field : fields)
    {
        if (const BasicString value = FindField(text, field); !value.empty())
        {
            return Items::ItemReading::OfText(value);
        }
    }
    return Items::ItemReading::Missing(fmt::format("'{}' has no field {}", file.GetPath(), fmt::join(fields, " or ")));
}

} // namespace Oxa::Device::Linux::Sources
