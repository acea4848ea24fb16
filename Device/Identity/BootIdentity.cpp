#include "Device/Identity/BootIdentity.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <systemd/sd-id128.h>

#include <array>

namespace Oxa::Device::Linux::Identity
{

using System::Commons::MutexLock;

namespace
{

BasicString MakeText(sd_id128_t id)
{
    std::array<char, SD_ID128_UUID_STRING_MAX> text;
    return sd_id128_to_uuid_string(id, text.data());
}

sd_id128_t MakeRandomId()
{
    sd_id128_t id = {};
    if (sd_id128_randomize(&id) < 0)
    {
        throw System::Commons::InvalidOperationException::Create("The machine has no random numbers");
    }
    return id;
}

sd_id128_t ReadId(const BasicString& path)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    Machine::KeptFile file(path);
    const BasicString text(Machine::DeviceText::Trim(file.Read(buffer).text));
    sd_id128_t id = {};
    return sd_id128_from_string(text.c_str(), &id) < 0 ? MakeRandomId() : id;
}

} // namespace

BootIdentity::BootIdentity(const BasicString& path) : text(MakeText(ReadId(path))) {}

BasicString BootIdentity::Get() const
{
    const MutexLock lock(mutex);
    return text;
}

void BootIdentity::Renew()
{
    BasicString newText = MakeText(MakeRandomId());
    const MutexLock lock(mutex);
    text.swap(newText);
}

} // namespace Oxa::Device::Linux::Identity
