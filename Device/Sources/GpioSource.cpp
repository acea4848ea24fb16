#include "Device/Sources/GpioSource.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::MutexLock;

GpioSource::GpioSource(Line line, Machine::SteadyClock clock) : line(std::move(line)), clock(std::move(clock)) {}

GpioSource::~GpioSource() = default;

Items::ItemReading GpioSource::Read(const Items::ReadPass&)
{
    const Machine::SteadyTime now = clock();
    const MutexLock lock(mutex);
    if (requestedLine == nullptr && pace.TryBegin(now))
    {
        const char* action = nullptr;
        // The library does not set errno in every case.
        errno = 0;
        requestedLine = GpioLine::TryRequest(line.chip, line.line, line.isActiveLow, action);
        if (requestedLine == nullptr)
        {
            Fail(action);
        }
    }
    return requestedLine == nullptr ? Items::ItemReading::Missing(cause) : ReadRequested();
}

BasicString GpioSource::Describe() const
{
    return fmt::format("GPIO line '{}' of chip '{}'{}", line.line, line.chip, line.isActiveLow ? ", active low" : "");
}

Items::ItemReading GpioSource::ReadRequested()
{
    const int value = requestedLine->Read();
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
    requestedLine.reset();
}

} // namespace Oxa::Device::Linux::Sources
