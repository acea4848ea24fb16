#include "Oxa/System/Rsc/ServiceManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <map>
#include <mutex>
#include <utility>

namespace Oxa::System::Rsc
{

namespace
{

/// Every place where a service is or was provided; there are as many as interfaces.
class SlotTable final
{
public:
    /// Null when the service was never provided.
    [[nodiscard]] std::shared_ptr<RscServiceSlot> TryFind(const BasicString& provider, const BasicString& interface)
    {
        const std::lock_guard lock(mutex);
        const auto found = slots.find({provider, interface});
        return found == slots.end() ? nullptr : found->second;
    }

    [[nodiscard]] std::shared_ptr<RscServiceSlot> FindOrCreate(const BasicString& provider,
                                                               const BasicString& interface)
    {
        const std::lock_guard lock(mutex);
        auto& slot = slots[{provider, interface}];
        if (!slot)
        {
            slot = std::make_shared<RscServiceSlot>(provider, interface);
        }
        return slot;
    }

private:
    System::Commons::Mutex mutex;
    std::map<std::pair<BasicString, BasicString>, std::shared_ptr<RscServiceSlot>> slots;
};

SlotTable& GetSlotTable()
{
    static SlotTable table;
    return table;
}

} // namespace

IRscService* ServiceManager::GetService(const char* providerName, IRscServiceProxyFactory& factory)
{
    auto slot = GetSlotTable().TryFind(providerName, factory.GetServiceInterfaceName());
    return slot && slot->TryAcquire() ? factory.CreateProxy(std::move(slot)) : nullptr;
}

void ServiceManager::RegisterService(IRscServiceProxyFactory& factory, std::shared_ptr<IRscService> implementation)
{
    if (!implementation)
    {
        throw System::Commons::ArgumentException::Create("implementation", static_cast<const void*>(nullptr),
                                                         "A provider needs an implementation");
    }
    GetSlotTable()
        .FindOrCreate(factory.GetServiceProviderName(), factory.GetServiceInterfaceName())
        ->Provide(std::move(implementation));
}

void ServiceManager::UnregisterService(IRscServiceProxyFactory& factory)
{
    const auto slot = GetSlotTable().TryFind(factory.GetServiceProviderName(), factory.GetServiceInterfaceName());
    if (slot)
    {
        slot->Provide(nullptr);
    }
}

} // namespace Oxa::System::Rsc
