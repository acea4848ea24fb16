#include "Device/Sources/GpioSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>
#include <gpiod.h>

#include <cerrno>
#include <mutex>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

// What other users of the chip see as the line's user.
constexpr const char* consumerName = "oxa-device";

gpiod_line* FindLine(gpiod_chip* chip, const BasicString& line)
{
    if (const auto offset = Machine::DeviceText::ParseNumber<unsigned int>(line))
    {
        return gpiod_chip_get_line(chip, *offset);
    }
    return gpiod_chip_find_line(chip, line.c_str());
}

} // namespace

GpioSource::GpioSource(Line line, Machine::SteadyClock clock) : line(std::move(line)), clock(std::move(clock)) {}

GpioSource::~GpioSource() = default;

Items::ItemReading GpioSource::Read(const Items::ReadPass&)
{
    const Machine::SteadyTime now = clock();
    const std::lock_guard lock(mutex);
    if (requestedLine == nullptr && pace.TryBegin(now))
    {
        Request();
    }
    return requestedLine == nullptr ? Items::ItemReading::Missing(cause) : ReadRequested();
}

BasicString GpioSource::Describe() const
{
    return fmt::format("GPIO line '{}' of chip '{}'{}", line.line, line.chip, line.isActiveLow ? ", active low" : "");
}

void GpioSource::CloseChip::operator()(gpiod_chip* chip) const noexcept
{
    gpiod_chip_close(chip);
}

void GpioSource::Request()
{
    // The library does not set errno in every case.
    errno = 0;
    chip.reset(gpiod_chip_open_lookup(line.chip.c_str()));
    if (!chip)
    {
        Fail("open the chip");
        return;
    }
    gpiod_line* const found = FindLine(chip.get(), line.line);
    if (found == nullptr)
    {
        Fail("find the line");
        return;
    }
    const int flags = line.isActiveLow ? GPIOD_LINE_REQUEST_FLAG_ACTIVE_LOW : 0;
    if (gpiod_line_request_input_flags(found, consumerName, flags) != 0)
    {
        Fail("request the line");
        return;
    }
    requestedLine = found;
}

Items::ItemReading GpioSource::ReadRequested()
{
    const int value = gpiod_line_get_value(requestedLine);
    if (value < 0)
    {
        Fail("read the line");
        return Items::ItemReading::Missing(cause);
    }
    return MakeReading(value != 0);
}

Items::ItemReading GpioSource::MakeReading(bool isActive) const
{
    if (line.activeText.empty() && line.inactiveText.empty())
    {
        return Items::ItemReading::Of(isActive);
    }
    return Items::ItemReading::OfText(isActive ? line.activeText : line.inactiveText);
}

void GpioSource::Fail(const char* action)
{
    const int error = errno != 0 ? errno : ENOENT;
    cause = fmt::format("cannot {} (GPIO chip '{}', line '{}'): {}", action, line.chip, line.line,
                        std::generic_category().message(error));
    requestedLine = nullptr;
    chip.reset();
}

} // namespace Oxa::Device::Linux::Sources
