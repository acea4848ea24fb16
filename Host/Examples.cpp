#include "Host/Examples.hpp"

#include "Oxa/System/Commons/Text.hpp"

namespace Oxa::Host
{

BasicString FormatAddress(std::string_view ipAddress, uint16 port)
{
    const bool isVersion6 = ipAddress.find(':') != std::string_view::npos;
    return System::Commons::Text::Format(isVersion6 ? "http://[{0}]:{1}" : "http://{0}:{1}", ipAddress, port);
}

BasicString FormatExamples(std::string_view address, std::string_view passwordPath)
{
    constexpr std::string_view commands =
        R"sh(# Log in and keep the token:
TOKEN=$(curl -s -H 'Content-Type: application/json' -d '{{"user":"admin","password":"'"$(cat '{1}')"'"}}' {0}/api/v1/session | sed 's/.*"token":"\([^"]*\)".*/\1/')
# Read everything about this device:
curl -s -H "Authorization: Bearer $TOKEN" '{0}/api/v1/DeviceInterfaceDp/GetDataSections?GeneralData&DateTime&Health&StatusIndicators&Utilization'
# Restart it:
curl -s -X POST -H "Authorization: Bearer $TOKEN" {0}/api/v1/DeviceInterfaceControlDp/RestartController
)sh";
    return System::Commons::Text::Format(commands, address, passwordPath);
}

} // namespace Oxa::Host
