#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// A line of a GPIO chip of the running machine, requested as an input as long as this lives. The only unit that knows
/// libgpiod, whose versions 1 and 2 have nothing in common but the name.
class GpioLine final
{
public:
    /// `chip`: its name, label or path. `line`: its name, or its offset in the chip. Null, with errno, when the line
    /// cannot be had; `action` then tells what failed.
    [[nodiscard]] static std::unique_ptr<GpioLine> TryRequest(const BasicString& chip, const BasicString& line,
                                                              bool isActiveLow, const char*& action);
    GpioLine(const GpioLine&) = delete;
    GpioLine& operator=(const GpioLine&) = delete;
    ~GpioLine();

    /// 1 when the line is active, 0 when it is not, -1 with errno when it cannot be read.
    [[nodiscard]] int Read() const noexcept;

private:
    struct Request;

    explicit GpioLine(Request newRequest);

    const std::unique_ptr<Request> request;
};

} // namespace Oxa::Device::Linux::Sources
