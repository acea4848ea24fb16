#include "Device/Commands/CommandSettings.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Commands
{

namespace
{

// systemd's limit, without the terminating zero.
constexpr std::size_t maximumLength = 255;

constexpr std::string_view allowedCharacters = "abcdefghijklmnopqrstuvwxyz"
                                               "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                               "0123456789:-_.\\@";

} // namespace

bool IsStartableUnitName(std::string_view name) noexcept
{
    const std::size_t dot = name.rfind('.');
    if (name.size() > maximumLength || dot == std::string_view::npos || dot == 0)
    {
        return false;
    }
    const std::string_view type = name.substr(dot);
    const std::size_t at = name.find('@');
    // Neither a template without an instance nor an instance of nothing.
    return (type == ".service" || type == ".target") && at != 0 && at + 1 != dot &&
           name.find_first_not_of(allowedCharacters) == std::string_view::npos;
}

} // namespace Oxa::Device::Linux::Commands
