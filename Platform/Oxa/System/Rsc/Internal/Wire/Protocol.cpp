#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <systemd/sd-bus.h>

#include <algorithm>

namespace Oxa::System::Rsc::Internal
{

BasicString GetObjectPath(std::string_view providerName)
{
    BasicString path = '/' + BasicString(providerName);
    std::replace(path.begin(), path.end(), '.', '/');
    if (sd_bus_object_path_is_valid(path.c_str()) <= 0)
    {
        throw System::Commons::ArgumentException::Create("providerName", providerName, "It cannot be a path of D-Bus");
    }
    return path;
}

BasicString GetBusInterfaceName(std::string_view interfaceName)
{
    constexpr std::string_view separator = "::";
    BasicString name(interfaceName);
    for (auto found = name.find(separator); found != BasicString::npos; found = name.find(separator, found))
    {
        name.replace(found, separator.size(), 1, '.');
    }
    if (sd_bus_interface_name_is_valid(name.c_str()) <= 0)
    {
        throw System::Commons::ArgumentException::Create("interfaceName", interfaceName,
                                                         "It cannot be an interface of D-Bus");
    }
    return name;
}

} // namespace Oxa::System::Rsc::Internal
