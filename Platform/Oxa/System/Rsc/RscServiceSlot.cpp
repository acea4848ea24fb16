#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

using System::Commons::MutexLock;

RscServiceSlot::RscServiceSlot(BasicString providerName, BasicString interfaceName)
    : providerName(std::move(providerName)), interfaceName(std::move(interfaceName))
{
}

RscServiceSlot::~RscServiceSlot() = default;

bool RscServiceSlot::IsProvided() const
{
    const MutexLock lock(mutex);
    return implementation != nullptr;
}

void RscServiceSlot::Provide(std::shared_ptr<IRscService> newImplementation)
{
    {
        const MutexLock lock(mutex);
        implementation.swap(newImplementation);
    }
    // The previous one, if this was its last owner, is destroyed here, outside the lock.
}

void RscServiceSlot::SetRemote(std::shared_ptr<IRscService> newRemote)
{
    {
        const MutexLock lock(mutex);
        remote.swap(newRemote);
    }
    // The previous one, if this was its last owner, is destroyed here, outside the lock.
}

const BasicString& RscServiceSlot::GetProviderName() const noexcept
{
    return providerName;
}

const BasicString& RscServiceSlot::GetInterfaceName() const noexcept
{
    return interfaceName;
}

std::shared_ptr<IRscService> RscServiceSlot::TryAcquireAny() const
{
    const MutexLock lock(mutex);
    return implementation ? implementation : remote;
}

void RscServiceSlot::ThrowNotAvailable() const
{
    throw RscServiceException::Create(RscFault::NotAvailable,
                                      "The service '{0}' of the provider '{1}' is not available", interfaceName,
                                      providerName);
}

} // namespace Oxa::System::Rsc
