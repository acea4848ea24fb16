#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"

#include <memory>

namespace Oxa::System::Rsc
{

/// The place where one service of this process is provided. Proxies share it, so that they outlive a provider that goes
/// and work again when it comes back. Safe from any thread.
class OXA_EXPORT RscServiceSlot final
{
public:
    RscServiceSlot(BasicString providerName, BasicString interfaceName);
    RscServiceSlot(const RscServiceSlot&) = delete;
    RscServiceSlot& operator=(const RscServiceSlot&) = delete;
    ~RscServiceSlot();

    /// The implementation as T, kept alive for the call that follows. Throws RscServiceException when nothing is
    /// provided at the moment or what is provided is no T.
    template <class T>
    [[nodiscard]] std::shared_ptr<T> Acquire() const
    {
        auto service = std::dynamic_pointer_cast<T>(TryAcquire());
        if (!service)
        {
            ThrowNotAvailable();
        }
        return service;
    }

    /// Null when nothing is provided at the moment.
    [[nodiscard]] std::shared_ptr<IRscService> TryAcquire() const;

    /// Null: nothing is provided any more. Calls under way finish with the implementation that they began with.
    void Provide(std::shared_ptr<IRscService> newImplementation);

private:
    [[noreturn]] void ThrowNotAvailable() const;

    const BasicString providerName;
    const BasicString interfaceName;
    mutable System::Commons::Mutex mutex;
    std::shared_ptr<IRscService> implementation;
};

} // namespace Oxa::System::Rsc
