#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"

#include <memory>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

class Endpoint;
class EndpointWatch;

/// The other processes that provide services, and who listens to their going and coming. Owned by the service manager.
/// Threads: safe from any thread.
class EndpointTable final
{
public:
    EndpointTable();
    EndpointTable(const EndpointTable&) = delete;
    EndpointTable& operator=(const EndpointTable&) = delete;
    ~EndpointTable();

    /// Throws ArgumentException when a provider's name cannot be a path, or is there twice.
    void Set(const std::vector<RscEndpointConfiguration>& configurations);
    void Reset();
    /// Null when none is configured for the provider.
    [[nodiscard]] std::shared_ptr<Endpoint> TryFind(const BasicString& providerName) const;

    void AddListener(IRscServiceListener& listener);
    /// Returns when no call into the listener is under way.
    void RemoveListener(IRscServiceListener& listener);
    [[nodiscard]] ProviderRuns& GetRuns() noexcept;

private:
    using Endpoints = std::vector<std::shared_ptr<Endpoint>>;

    void UpdateWatch();
    void Replace(Endpoints newEndpoints);

    ProviderRuns listeners;
    mutable System::Commons::Mutex mutex;
    Endpoints endpoints;
    std::unique_ptr<EndpointWatch> watch;
};

} // namespace Oxa::System::Rsc::Internal
