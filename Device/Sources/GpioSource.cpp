// Two states: requested, or not requested with a cause and a time of the next request. `mutex` guards both; it is held
// during calls of the GPIO library, which never call back.

#include "Device/Sources/GpioSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>
#include <gpiod.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using Items::ItemReading;
using System::Commons::MutexLock;

namespace
{

// The line's user, as other users of the chip see it.
constexpr const char* consumerName = "oxa-device";

template <auto Function>
struct Call
{
    template <class Handle>
    void operator()(Handle* handle) const noexcept
    {
        Function(handle);
    }
};

using Chip = std::unique_ptr<gpiod_chip, Call<&gpiod_chip_close>>;

} // namespace

#if OXA_GPIOD_VERSION >= 2

namespace
{

using LineRequest = std::unique_ptr<gpiod_line_request, Call<&gpiod_line_request_release>>;

bool HasLabel(gpiod_chip* chip, const BasicString& label)
{
    const std::unique_ptr<gpiod_chip_info, Call<&gpiod_chip_info_free>> info(gpiod_chip_get_info(chip));
    return info && label == gpiod_chip_info_get_label(info.get());
}

Chip FindChipByLabel(const BasicString& label)
{
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev", error))
    {
        Chip chip(gpiod_is_gpiochip_device(entry.path().c_str()) ? gpiod_chip_open(entry.path().c_str()) : nullptr);
        if (chip && HasLabel(chip.get(), label))
        {
            return chip;
        }
    }
    errno = ENOENT;
    return nullptr;
}

Chip OpenChip(const BasicString& description)
{
    if (description.find('/') != BasicString::npos)
    {
        return Chip(gpiod_chip_open(description.c_str()));
    }
    const BasicString path = (Machine::DeviceText::ParseNumber<unsigned int>(description) ? "/dev/gpiochip" : "/dev/");
    Chip chip(gpiod_chip_open((path + description).c_str()));
    return chip || errno != ENOENT ? std::move(chip) : FindChipByLabel(description);
}

std::optional<unsigned int> FindLine(gpiod_chip* chip, const BasicString& line)
{
    if (const auto offset = Machine::DeviceText::ParseNumber<unsigned int>(line))
    {
        return offset;
    }
    const int offset = gpiod_chip_get_line_offset_from_name(chip, line.c_str());
    return offset < 0 ? std::nullopt : std::optional(static_cast<unsigned int>(offset));
}

LineRequest RequestInput(gpiod_chip* chip, unsigned int offset, bool isActiveLow)
{
    const std::unique_ptr<gpiod_line_settings, Call<&gpiod_line_settings_free>> settings(gpiod_line_settings_new());
    const std::unique_ptr<gpiod_line_config, Call<&gpiod_line_config_free>> lines(gpiod_line_config_new());
    const std::unique_ptr<gpiod_request_config, Call<&gpiod_request_config_free>> request(gpiod_request_config_new());
    if (!settings || !lines || !request ||
        gpiod_line_settings_set_direction(settings.get(), GPIOD_LINE_DIRECTION_INPUT) != 0)
    {
        return nullptr;
    }
    gpiod_line_settings_set_active_low(settings.get(), isActiveLow);
    if (gpiod_line_config_add_line_settings(lines.get(), &offset, 1, settings.get()) != 0)
    {
        return nullptr;
    }
    gpiod_request_config_set_consumer(request.get(), consumerName);
    return LineRequest(gpiod_chip_request_lines(chip, request.get(), lines.get()));
}

} // namespace

class GpioSource::Request final
{
public:
    /// Null, and `action` and errno tell what failed, when the line cannot be requested.
    static std::unique_ptr<Request> TryMake(const Line& line, const char*& action)
    {
        action = "open the chip";
        const Chip chip = OpenChip(line.chip);
        if (!chip)
        {
            return nullptr;
        }
        action = "find the line";
        const auto offset = FindLine(chip.get(), line.line);
        if (!offset)
        {
            return nullptr;
        }
        action = "request the line";
        LineRequest lines = RequestInput(chip.get(), *offset, line.isActiveLow);
        // The request stays when the chip is closed.
        return lines ? std::make_unique<Request>(std::move(lines), *offset) : nullptr;
    }

    Request(LineRequest lines, unsigned int offset) : lines(std::move(lines)), offset(offset) {}

    /// 1 when the line is active, 0 when not; negative, and errno is set, when it cannot be read.
    [[nodiscard]] int Read() const noexcept
    {
        return gpiod_line_request_get_value(lines.get(), offset);
    }

private:
    const LineRequest lines;
    const unsigned int offset;
};

#else

namespace
{

gpiod_line* FindLine(gpiod_chip* chip, const BasicString& line)
{
    if (const auto offset = Machine::DeviceText::ParseNumber<unsigned int>(line))
    {
        return gpiod_chip_get_line(chip, *offset);
    }
    return gpiod_chip_find_line(chip, line.c_str());
}

} // namespace

class GpioSource::Request final
{
public:
    /// Null, and `action` and errno tell what failed, when the line cannot be requested.
    static std::unique_ptr<Request> TryMake(const Line& line, const char*& action)
    {
        action = "open the chip";
        Chip chip(gpiod_chip_open_lookup(line.chip.c_str()));
        if (!chip)
        {
            return nullptr;
        }
        action = "find the line";
        gpiod_line* const found = FindLine(chip.get(), line.line);
        if (found == nullptr)
        {
            return nullptr;
        }
        action = "request the line";
        const int flags = line.isActiveLow ? GPIOD_LINE_REQUEST_FLAG_ACTIVE_LOW : 0;
        return gpiod_line_request_input_flags(found, consumerName, flags) != 0
                   ? nullptr
                   : std::make_unique<Request>(std::move(chip), found);
    }

    Request(Chip chip, gpiod_line* line) : chip(std::move(chip)), line(line) {}

    /// 1 when the line is active, 0 when not; negative, and errno is set, when it cannot be read.
    [[nodiscard]] int Read() const noexcept
    {
        return gpiod_line_get_value(line);
    }

private:
    const Chip chip;
    /// Belongs to the chip, and is released with it.
    gpiod_line* const line;
};

#endif

GpioSource::GpioSource(Line line, Machine::SteadyClock clock) : line(std::move(line)), clock(std::move(clock)) {}

GpioSource::~GpioSource() = default;

ItemReading GpioSource::Read(const Items::ReadPass&)
{
    const Machine::SteadyTime now = clock();
    const MutexLock lock(mutex);
    if (request == nullptr)
    {
        if (!requesting.IsDue(now))
        {
            return ItemReading::Missing(cause);
        }
        requesting.Delay(now);
        const char* action = nullptr;
        // The library does not set errno in every case.
        errno = 0;
        request = Request::TryMake(line, action);
        if (request == nullptr)
        {
            return Fail(action);
        }
    }
    const int value = request->Read();
    return value < 0 ? Fail("read the line") : MakeReading(value != 0);
}

BasicString GpioSource::Describe() const
{
    return fmt::format("GPIO line '{}' of chip '{}'{}", line.line, line.chip, line.isActiveLow ? ", active low" : "");
}

ItemReading GpioSource::MakeReading(bool isActive) const
{
    if (line.activeText.empty() && line.inactiveText.empty())
    {
        return ItemReading::Of(isActive);
    }
    return ItemReading::OfText(isActive ? line.activeText : line.inactiveText);
}

ItemReading GpioSource::Fail(const char* action)
{
    const int error = errno != 0 ? errno : ENOENT;
    cause = fmt::format("cannot {} (GPIO chip '{}', line '{}'): {}", action, line.chip, line.line,
                        std::generic_category().message(error));
    request.reset();
    return ItemReading::Missing(cause);
}

} // namespace Oxa::Device::Linux::Sources
