// The host's configuration file: either it is read, or an XmlException names file, line and cause.

#include "Fuzz/Require.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = memfd_create("configuration", MFD_CLOEXEC);
    Require(file >= 0 && ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    const Oxa::BasicString path = "/proc/self/fd/" + std::to_string(file);
    try
    {
        (void)Oxa::Host::Configuration::LoadHostConfiguration(path);
    }
    catch (const Oxa::System::Commons::XmlException& exception)
    {
        const std::string_view message = exception.what();
        Require(message.find(path) != std::string_view::npos && Oxa::System::Commons::Text::IsValidUtf8(message));
    }
    return 0;
}
