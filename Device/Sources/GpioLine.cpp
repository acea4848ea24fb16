#include "Device/Sources/GpioLine.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <gpiod.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

// What other users of the chip see as the line's user.
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

} // namespace

struct GpioLine::Request
{
    LineRequest lines;
    unsigned int offset;

    [[nodiscard]] int Read() const noexcept
    {
        return gpiod_line_request_get_value(lines.get(), offset);
    }
};

namespace
{

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

std::unique_ptr<GpioLine> GpioLine::TryRequest(const BasicString& chipName, const BasicString& lineName,
                                               bool isActiveLow, const char*& action)
{
    action = "open the chip";
    const Chip chip = OpenChip(chipName);
    if (!chip)
    {
        return nullptr;
    }
    action = "find the line";
    const auto offset = FindLine(chip.get(), lineName);
    if (!offset)
    {
        return nullptr;
    }
    action = "request the line";
    LineRequest lines = RequestInput(chip.get(), *offset, isActiveLow);
    // The request stays when the chip is closed.
    return lines ? std::unique_ptr<GpioLine>(new GpioLine({std::move(lines), *offset})) : nullptr;
}

#else

struct GpioLine::Request
{
    Chip chip;
    /// Belongs to the chip, and is given back with it.
    gpiod_line* line;

    [[nodiscard]] int Read() const noexcept
    {
        return gpiod_line_get_value(line);
    }
};

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

std::unique_ptr<GpioLine> GpioLine::TryRequest(const BasicString& chipName, const BasicString& lineName,
                                               bool isActiveLow, const char*& action)
{
    action = "open the chip";
    Chip chip(gpiod_chip_open_lookup(chipName.c_str()));
    if (!chip)
    {
        return nullptr;
    }
    action = "find the line";
    gpiod_line* const line = FindLine(chip.get(), lineName);
    if (line == nullptr)
    {
        return nullptr;
    }
    action = "request the line";
    const int flags = isActiveLow ? GPIOD_LINE_REQUEST_FLAG_ACTIVE_LOW : 0;
    return gpiod_line_request_input_flags(line, consumerName, flags) != 0
               ? nullptr
               : std::unique_ptr<GpioLine>(new GpioLine({std::move(chip), line}));
}

#endif

GpioLine::GpioLine(Request newRequest) : request(std::make_unique<Request>(std::move(newRequest))) {}

GpioLine::~GpioLine() = default;

int GpioLine::Read() const noexcept
{
    return request->Read();
}

} // namespace Oxa::Device::Linux::Sources
