#include "Device/Items/DeviceItem.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace Oxa::Device::Linux::Items
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

// A device that gives another nonsense at every read must not fill the log.
constexpr std::size_t maximumLoggedCauses = 8;

} // namespace

DeviceItem::DeviceItem(BasicString key, std::unique_ptr<IItemSource> source, std::optional<System::Rsc::RscType> type)
    : key(std::move(key)), source(std::move(source)), type(type)
{
}

void DeviceItem::Read(const ReadPass& pass, ItemValue& value)
{
    const ItemReading reading = TryRead(pass);
    value = reading.value;
    if (!reading.HasValue() && IsNewCause(reading.cause))
    {
        Log(LogLevel::Warning, "The item '{0}' has no value: {1}", key,
            System::Commons::Text::EscapeControlCharacters(reading.cause));
    }
}

ItemReading DeviceItem::TryRead(const ReadPass& pass)
{
    try
    {
        return ItemConversion::ReadAs(type, *source, pass);
    }
    catch (const std::exception& exception)
    {
        return ItemReading::Missing(exception.what());
    }
    catch (...)
    {
        return ItemReading::Missing("unknown exception");
    }
}

const BasicString& DeviceItem::GetKey() const noexcept
{
    return key;
}

const IItemSource& DeviceItem::GetSource() const noexcept
{
    return *source;
}

bool DeviceItem::IsNewCause(const BasicString& cause)
{
    const MutexLock lock(mutex);
    if (loggedCauses.size() >= maximumLoggedCauses ||
        std::find(loggedCauses.begin(), loggedCauses.end(), cause) != loggedCauses.end())
    {
        return false;
    }
    loggedCauses.push_back(cause);
    return true;
}

} // namespace Oxa::Device::Linux::Items
