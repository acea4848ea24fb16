#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

using System::Commons::MutexLock;

RscServiceException::~RscServiceException() = default;

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

// What is replaced, if this was its last owner, is destroyed outside the lock.

void RscServiceSlot::Provide(std::shared_ptr<IRscService> newImplementation)
{
    const MutexLock lock(mutex);
    implementation.swap(newImplementation);
}

void RscServiceSlot::SetRemote(std::shared_ptr<IRscService> newRemote)
{
    const MutexLock lock(mutex);
    remote.swap(newRemote);
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
