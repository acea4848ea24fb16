#include "Device/Sources/DeviceTreeSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

constexpr std::size_t cellBytes = 4;

} // namespace

DeviceTreeSource::DeviceTreeSource(std::shared_ptr<Machine::KeptFile> file, Options options)
    : file(std::move(file)), options(options)
{
}

DeviceTreeSource::~DeviceTreeSource() = default;

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

} // namespace Oxa::Device::Linux::Sources
