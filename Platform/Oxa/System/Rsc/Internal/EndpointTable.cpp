#include "Oxa/System/Rsc/Internal/EndpointTable.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Rsc/Internal/Endpoint.hpp"
#include "Oxa/System/Rsc/Internal/EndpointWatch.hpp"

#include <algorithm>
#include <mutex>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

template <class Endpoints>
[[nodiscard]] std::shared_ptr<Endpoint> TryFindIn(const Endpoints& endpoints, const BasicString& providerName)
{
    const auto found =
        std::find_if(endpoints.begin(), endpoints.end(),
                     [&providerName](const auto& endpoint) { return endpoint->GetProviderName() == providerName; });
    return found == endpoints.end() ? nullptr : *found;
}

} // namespace

EndpointTable::EndpointTable() = default;

EndpointTable::~EndpointTable() = default;

void EndpointTable::Set(const std::vector<RscEndpointConfiguration>& configurations)
{
    Endpoints made;
    for (const auto& configuration : configurations)
    {
        if (TryFindIn(made, configuration.providerName))
        {
            throw System::Commons::ArgumentException::Create("configurations", configuration.providerName,
                                                             "A provider has one endpoint");
        }
        made.push_back(std::make_shared<Endpoint>(configuration, listeners));
    }
    Replace(std::move(made));
}

void EndpointTable::Reset()
{
    Replace({});
}

std::shared_ptr<Endpoint> EndpointTable::TryFind(const BasicString& providerName) const
{
    const std::lock_guard lock(mutex);
    return TryFindIn(endpoints, providerName);
}

void EndpointTable::AddListener(IRscServiceListener& listener)
{
    listeners.AddListener(listener);
    try
    {
        UpdateWatch();
    }
    catch (...)
    {
        listeners.RemoveListener(listener);
        throw;
    }
}

void EndpointTable::RemoveListener(IRscServiceListener& listener)
{
    listeners.RemoveListener(listener);
    UpdateWatch();
}

ProviderRuns& EndpointTable::GetRuns() noexcept
{
    return listeners;
}

// Endpoints are closed before the watch is destroyed, so that a watch thread that waits for an answer returns at once.
void EndpointTable::Replace(Endpoints newEndpoints)
{
    std::unique_ptr<EndpointWatch> oldWatch;
    Endpoints oldEndpoints;
    {
        const std::lock_guard lock(mutex);
        oldWatch.swap(watch);
        oldEndpoints = std::exchange(endpoints, std::move(newEndpoints));
    }
    for (const auto& endpoint : oldEndpoints)
    {
        endpoint->Close();
    }
    oldWatch.reset();
    UpdateWatch();
}

void EndpointTable::UpdateWatch()
{
    // Its thread may be in a listener; it is waited for without the lock.
    std::unique_ptr<EndpointWatch> oldWatch;
    const std::lock_guard lock(mutex);
    const bool isWanted = !endpoints.empty();
    if (isWanted && !watch)
    {
        watch = std::make_unique<EndpointWatch>(endpoints, listeners);
    }
    if (!isWanted)
    {
        oldWatch.swap(watch);
    }
}

} // namespace Oxa::System::Rsc::Internal
