#include "Oxa/System/Rsc/RscRegistration.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"
#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <cstddef>
#include <utility>

namespace Oxa::System::Rsc
{

using System::Commons::ArgumentException;

namespace
{

BasicString GetProviderName(const std::vector<RscRegistration::Service>& services)
{
    if (services.empty())
    {
        throw ArgumentException::Create("services", services.size(), "A provider has a service");
    }
    BasicString name = services.front().factory.GetServiceProviderName();
    for (const auto& service : services)
    {
        if (!service.implementation || service.factory.GetServiceProviderName() != name)
        {
            throw ArgumentException::Create("services", service.factory.GetServiceInterfaceName(),
                                            "Not an implemented service of the provider '" + name + "'");
        }
    }
    return name;
}

} // namespace

RscRegistration::RscRegistration(BasicString bootId, BasicString buildId, std::vector<Service> services)
    : registration(new Internal::Registration{GetProviderName(services), std::move(bootId), std::move(buildId),
                                              std::move(services)})
{
    auto& table = Internal::ServiceTable::GetInstance();
    auto& runs = Internal::ProviderRuns::GetInstance();
    const auto& provided = registration->services;
    for (const Service& service : provided)
    {
        registration->slots.push_back(
            table.FindOrCreate(registration->providerName, service.factory.GetServiceInterfaceName()));
    }
    table.Add(registration);
    for (std::size_t index = 0; index < provided.size(); ++index)
    {
        registration->slots[index]->Provide(provided[index].implementation);
    }
    runs.Begin(registration->providerName, registration->bootId, registration->buildId);
    runs.Report(registration->providerName);
}

RscRegistration::~RscRegistration()
{
    auto& runs = Internal::ProviderRuns::GetInstance();
    registration->isWithdrawn = true;
    runs.End(registration->providerName);
    for (const auto& slot : registration->slots)
    {
        slot->Provide(nullptr);
    }
    Internal::ServiceTable::GetInstance().Remove(*registration);
    runs.Report(registration->providerName);
}

} // namespace Oxa::System::Rsc
