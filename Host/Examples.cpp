#include "Host/Examples.hpp"

#include "Host/InitialUser.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Commons/Text.hpp"

namespace Oxa::Host
{

BasicString FormatAddress(std::string_view ipAddress, uint16 port)
{
    const bool isVersion6 = ipAddress.find(':') != std::string_view::npos;
    return System::Commons::Text::Format(isVersion6 ? "http://[{0}]:{1}" : "http://{0}:{1}", ipAddress, port);
}

BasicString FormatExamples(std::string_view address, const StateFolder& stateFolder, std::string_view logPath)
{
    constexpr std::string_view examples = R"sh(
Web-based management, until Ctrl-C:
    address    {0}
    user       {1}
    password   {2}
    log        {3}
Log in and keep the token:
    TOKEN=$({4} | curl -fsS -H 'Content-Type: application/json' -d @- {0}/api/v1/session | sed 's/.*"token":"\([^"]*\)".*/\1/')
Read everything about this device:
    curl -fsS -H "Authorization: Bearer $TOKEN" '{0}/api/v1/DeviceInterfaceDp/GetDataSections?GeneralData&DateTime&Health&StatusIndicators&Utilization'
Restart it (simulated under ./run):
    curl -fsS -X POST -H "Authorization: Bearer $TOKEN" {0}/api/v1/DeviceInterfaceControlDp/RestartController

)sh";
    const BasicString& path = stateFolder.GetInitialPasswordPath();
    const BasicString password = stateFolder.ReadInitialPassword();
    const bool isKnown = !password.empty();
    // Without the first password the shell asks for the one that took its place.
    const BasicString shownPassword =
        isKnown ? password + " (kept in '" + path + "')" : BasicString("the one that was set since the first start");
    const BasicString readPassword =
        isKnown ? "cat '" + path + "'" : BasicString("{ read -rsp Password: P; echo \"$P\"; }");
    const BasicString credentials =
        readPassword + R"( | sed 's/.*/{"user":")" + initialUserName + R"(","password":"&"}/')";
    return System::Commons::Text::Format(examples, address, initialUserName, shownPassword,
                                         logPath.empty() ? "where the configuration says" : logPath, credentials);
}

} // namespace Oxa::Host
