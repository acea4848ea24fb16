#include "Device/Sources/FileSource.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/DeviceText.hpp"

#include <dlfcn.h>
#include <fmt/format.h>
#include <re2/re2.h>

#include <array>
#include <span>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

// For the expression and the search's cache; without memory for the cache the library searches more slowly.
constexpr int64_t maximumMemoryBytes = 256 * 1024;

re2::RE2::Options MakeOptions()
{
    re2::RE2::Options options;
    options.set_max_mem(maximumMemoryBytes);
    options.set_log_errors(false);
    // Text of a device may be invalid UTF-8.
    options.set_encoding(re2::RE2::Options::EncodingLatin1);
    return options;
}

/// The library of the expressions keeps objects for the rest of the process; unloaded with this component, it would
/// leave them behind each time.
void KeepExpressionLibraryLoaded() noexcept
{
    Dl_info object = {};
    if (dladdr(reinterpret_cast<void*>(&re2::RE2::QuoteMeta), &object) != 0)
    {
        static_cast<void>(dlopen(object.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE));
    }
}

} // namespace

std::shared_ptr<const LinePattern> LinePattern::TryMake(const BasicString& expression, BasicString& fault)
{
    if (expression.size() > maximumBytes)
    {
        fault = fmt::format("at most {} bytes", maximumBytes);
        return nullptr;
    }
    KeepExpressionLibraryLoaded();
    auto compiled = std::make_unique<const re2::RE2>(expression, MakeOptions());
    if (!compiled->ok())
    {
        fault = compiled->error();
        return nullptr;
    }
    if (compiled->NumberOfCapturingGroups() != 1)
    {
        fault = "exactly one group";
        return nullptr;
    }
    return std::shared_ptr<const LinePattern>(new LinePattern(std::move(compiled)));
}

LinePattern::LinePattern(std::unique_ptr<const re2::RE2> expression) : expression(std::move(expression)) {}

LinePattern::~LinePattern() = default;

std::optional<std::string_view> LinePattern::Find(std::string_view text) const
{
    while (!text.empty())
    {
        std::string_view line = Machine::DeviceText::TakeUntil(text, '\n');
        if (line.ends_with('\r'))
        {
            line.remove_suffix(1);
        }
        // The whole match, and the group, which has no address when it takes no part in the match.
        std::array<re2::StringPiece, 2> matches;
        const bool isMatch = expression->Match({line.data(), line.size()}, 0, line.size(), re2::RE2::UNANCHORED,
                                               matches.data(), static_cast<int>(matches.size()));
        if (isMatch && matches[1].data() != nullptr)
        {
            return std::string_view(matches[1].data(), matches[1].size());
        }
    }
    return std::nullopt;
}

namespace
{

// The kernel allocates a buffer as large as the read.
constexpr std::size_t numberBytes = 128;
constexpr std::size_t textBytes = 1024;

std::size_t GetReadBytes(const FileSource::Options& options) noexcept
{
    if (options.pattern)
    {
        return Machine::KeptFile::pageBytes;
    }
    const bool isText = options.type == System::Rsc::RscType::String && options.scale == 1 && options.offset == 0;
    // One byte more shows that the content is too long.
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
                  : Items::ItemReading::Missing("the text is not a number");
}

namespace
{

constexpr std::size_t cellBytes = 4;

} // namespace

DeviceTreeSource::DeviceTreeSource(std::shared_ptr<Machine::KeptFile> file, Options options)
    : file(std::move(file)), options(options)
{
}

Items::ItemReading DeviceTreeSource::Read(const Items::ReadPass& pass)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    const Machine::KeptFile::Content content = file->Read(buffer, pass.GetWaitBudget());
    if (content.error != 0)
    {
        return Items::ItemReading::Missing(file->DescribeError(content.error));
    }
    return options.cells == 0 ? ReadText(content.text) : ReadNumber(content.text);
}

BasicString DeviceTreeSource::Describe() const
{
    return "device tree property " + file->GetPath();
}

Items::ItemReading DeviceTreeSource::ReadText(std::string_view content) const
{
    for (std::size_t index = 0; index < options.index; ++index)
    {
        static_cast<void>(Machine::DeviceText::TakeUntil(content, '\0'));
    }
    const std::string_view text = Machine::DeviceText::Trim(content);
    return Machine::DeviceText::IsPlaceholder(text)
               ? Items::ItemReading::Missing(fmt::format("'{}' has no text number {}", file->GetPath(), options.index))
               : Items::ItemReading::OfText(text);
}

Items::ItemReading DeviceTreeSource::ReadNumber(std::string_view content) const
{
    const std::size_t numberBytes = options.cells * cellBytes;
    const std::size_t start = options.index * numberBytes;
    if (content.size() < start + numberBytes)
    {
        return Items::ItemReading::Missing(fmt::format("'{}' has no number {}", file->GetPath(), options.index));
    }
    uint64 number = 0;
    for (const char byte : content.substr(start, numberBytes))
    {
        number = number << 8U | static_cast<unsigned char>(byte);
    }
    return options.cells == 1 ? Items::ItemReading::Of(static_cast<uint32>(number)) : Items::ItemReading::Of(number);
}

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
