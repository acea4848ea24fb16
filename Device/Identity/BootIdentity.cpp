#include "Device/Identity/BootIdentity.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

#include <sys/random.h>

#include <array>
#include <mutex>
#include <string_view>

namespace Oxa::Device::Linux::Identity
{

namespace
{

constexpr std::string_view uuidShape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

bool IsUuid(std::string_view text) noexcept
{
    if (text.size() != uuidShape.size())
    {
        return false;
    }
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        const bool isDigit = digits.find(text[index]) != std::string_view::npos;
        if (uuidShape[index] == 'x' ? !isDigit : text[index] != '-')
        {
            return false;
        }
    }
    return true;
}

BasicString MakeRandomUuid()
{
    System::Rsc::RscGuid bytes = {};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    {
        throw System::Commons::InvalidOperationException::Create("The machine has no random numbers");
    }
    // Version 4, variant 1 (RFC 9562, 5.4).
    bytes[6] = static_cast<uint8>((bytes[6] & 0x0FU) | 0x40U);
    bytes[8] = static_cast<uint8>((bytes[8] & 0x3FU) | 0x80U);
    return System::Rsc::RscVariant<512>(bytes).ToString();
}

BasicString ReadUuid(const BasicString& path)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    Machine::KeptFile file(path);
    const std::string_view text = Machine::DeviceText::Trim(file.Read(buffer).text);
    return IsUuid(text) ? BasicString(text) : MakeRandomUuid();
}

} // namespace

BootIdentity::BootIdentity(const BasicString& path) : text(ReadUuid(path)) {}

BasicString BootIdentity::Get() const
{
    const std::lock_guard lock(mutex);
    return text;
}

void BootIdentity::Renew()
{
    BasicString newText = MakeRandomUuid();
    const std::lock_guard lock(mutex);
    text.swap(newText);
}

} // namespace Oxa::Device::Linux::Identity
