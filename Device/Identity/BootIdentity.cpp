#include "Device/Identity/BootIdentity.hpp"

#include "Device/Identity/BuildIdentity.hpp"
#include "Device/Items/IItemSource.hpp"
#include "Device/Items/WellKnownItems.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Oxa/Device/Interface/Services/IdentityItemKeys.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <systemd/sd-id128.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Identity
{

using Interface::Services::bootIdKey;
using Interface::Services::buildIdKey;
using System::Commons::MutexLock;

namespace
{

/// The present boot identity. Safe from any thread.
class BootIdSource final : public Items::IItemSource
{
public:
    explicit BootIdSource(std::shared_ptr<const BootIdentity> identity) : identity(std::move(identity)) {}

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass&) override
    {
        return Items::ItemReading::OfText(identity->Get());
    }

    [[nodiscard]] BasicString Describe() const override
    {
        return "boot id of the machine, another one after each simulated restart";
    }

private:
    const std::shared_ptr<const BootIdentity> identity;
};

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

void AddIdentityItems(Items::ItemTable& table, std::shared_ptr<const BootIdentity> bootIdentity,
                      const std::vector<BasicString>& descriptionFiles)
{
    const auto add = [&table](const char* key, std::unique_ptr<Items::IItemSource> source)
    {
        table.Add(key, std::move(source), Items::FindExpectedType(key), Items::GetWellKnownMeaning(key));
    };
    if (table.TryFind(bootIdKey) == nullptr)
    {
        add(bootIdKey, std::make_unique<BootIdSource>(std::move(bootIdentity)));
    }
    if (table.TryFind(buildIdKey) == nullptr)
    {
        const Items::ItemValue buildId(MakeBuildIdentity(descriptionFiles));
        add(buildIdKey, std::make_unique<Sources::ConstantSource>(buildId));
    }
}

} // namespace Oxa::Device::Linux::Identity
