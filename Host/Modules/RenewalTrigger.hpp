#pragma once

#include "Oxa/System/Rsc/IRscServiceListener.hpp"

#include <atomic>

namespace Oxa::Host::Modules
{

class ModuleRenewer;

/// Tells the renewer when services go and come, until `Ignore` or the end of its life.
/// Threads: made and destroyed by one; called by any.
class RenewalTrigger final : public System::Rsc::IRscServiceListener
{
public:
    /// Borrowed.
    explicit RenewalTrigger(ModuleRenewer& renewer);
    RenewalTrigger(const RenewalTrigger&) = delete;
    RenewalTrigger& operator=(const RenewalTrigger&) = delete;
    ~RenewalTrigger() override;

    /// From now on: that services go at the end of the process is no loss.
    void Ignore() noexcept;

    void OnEpochChanged(const BasicString& providerName) noexcept override;

private:
    ModuleRenewer& renewer;
    std::atomic<bool> isIgnoring = false;
};

} // namespace Oxa::Host::Modules
