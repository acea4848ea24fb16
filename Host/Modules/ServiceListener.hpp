#pragma once

#include "Oxa/System/Rsc/IRscServiceListener.hpp"

namespace Oxa::Host::Modules
{

class ModuleRenewer;

/// Tells the renewer when services go and come, as long as it lives. Threads: made and destroyed by one; called by any.
class ServiceListener final : public System::Rsc::IRscServiceListener
{
public:
    /// Borrowed.
    explicit ServiceListener(ModuleRenewer& renewer);
    ServiceListener(const ServiceListener&) = delete;
    ServiceListener& operator=(const ServiceListener&) = delete;
    ~ServiceListener() override;

    void OnServicesLost(const BasicString& providerName) noexcept override;
    void OnServicesAvailable(const BasicString& providerName) noexcept override;

private:
    ModuleRenewer& renewer;
};

} // namespace Oxa::Host::Modules
