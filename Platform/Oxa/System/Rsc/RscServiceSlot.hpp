#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"

#include <memory>

namespace Oxa::System::Rsc
{

/// Holds the implementation of one service: that of this process, else, when an endpoint is configured for its
/// provider, the one that calls another process. Proxies share it, so that they outlive a registration and work again
/// after the next one. Safe from any thread.
class OXA_EXPORT RscServiceSlot final
{
public:
    RscServiceSlot(BasicString providerName, BasicString interfaceName);
    RscServiceSlot(const RscServiceSlot&) = delete;
    RscServiceSlot& operator=(const RscServiceSlot&) = delete;
    ~RscServiceSlot();

    /// The implementation of this process as T, else the one that calls the other process, kept alive for the call that
    /// follows. Throws RscServiceException when there is neither or what is provided is no T.
    template <class T>
    [[nodiscard]] std::shared_ptr<T> Acquire() const
    {
        auto service = std::dynamic_pointer_cast<T>(TryAcquireAny());
        if (!service)
        {
            ThrowNotAvailable();
        }
        return service;
    }

    /// Whether this process provides the service now.
    [[nodiscard]] bool IsProvided() const;

    /// Null: nothing is provided any more. Calls in progress finish with the implementation that they began with.
    void Provide(std::shared_ptr<IRscService> newImplementation);

    /// The fallback when this process provides nothing, or null. Requires: it calls another process.
    void SetRemote(std::shared_ptr<IRscService> newRemote);

    [[nodiscard]] const BasicString& GetProviderName() const noexcept
    {
        return providerName;
    }

    [[nodiscard]] const BasicString& GetInterfaceName() const noexcept
    {
        return interfaceName;
    }

private:
    [[nodiscard]] std::shared_ptr<IRscService> TryAcquireAny() const;
    [[noreturn]] void ThrowNotAvailable() const;

    const BasicString providerName;
    const BasicString interfaceName;
    mutable System::Commons::Mutex mutex;
    std::shared_ptr<IRscService> implementation OXA_GUARDED_BY(mutex);
    std::shared_ptr<IRscService> remote OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Rsc
