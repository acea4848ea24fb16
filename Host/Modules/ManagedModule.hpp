#pragma once

#include "Host/Modules/LoadedModule.hpp"
#include "Host/Modules/ModuleBorder.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <memory>
#include <set>

namespace Oxa::System::Rsc
{
class RscUsageRecorder;
}

namespace Oxa::Host::Modules
{

class ModuleGate;
class ModuleRegistry;

/// One module and where it is in its life. A set-up that fails is reported, and the module is left out until the next
/// one: nothing of it is registered then.
/// Threads: one at a time, except for `HasFailed`. Nobody calls the module during a call of these, unless it is said.
class ManagedModule final
{
public:
    /// `loaded` is created. `registry` and `border` are borrowed.
    ManagedModule(std::unique_ptr<LoadedModule> loaded, ModuleRegistry& registry, const ModuleBorder& border);

    /// Sets the module up and starts it, and writes down whose services it asks for meanwhile. Throws XmlException when
    /// its settings cannot be read; it has failed then as well.
    void SetUp();

    /// Stops and resets the module first, in case that it is up. Settings that cannot be read are reported.
    void SetUpAgain();

    /// Stops and resets it, in case that it is up.
    void TakeDown() noexcept;

    /// Whether the last set-up failed. From any thread.
    [[nodiscard]] bool HasFailed() const noexcept;

    /// Whether the module may do without a change of its services what it could not do at the last set-up: a call of
    /// one failed, or all were there and something that it has registered is not available nevertheless.
    [[nodiscard]] bool MayRecover() const noexcept;

    /// Whether everything that it has registered says that it is available. Calls the module.
    [[nodiscard]] bool IsAvailable() const;

    [[nodiscard]] const BasicString& GetName() const noexcept;

    /// Through which requests and questions come.
    [[nodiscard]] ModuleGate& GetGate() noexcept;

    /// Of the services that it has asked for so far.
    [[nodiscard]] const std::set<BasicString>& GetProviderNames() const noexcept;

private:
    [[nodiscard]] bool TrySetUp();
    template <class Call>
    void NoteFault(const Call& call);
    void NoteUsage(const System::Rsc::RscUsageRecorder& usage);
    void Reset();

    std::unique_ptr<LoadedModule> loaded;
    ModuleRegistry& registry;
    const ModuleBorder& border;
    bool isUp = false;
    std::atomic<bool> hasFailed = false;
    /// At the last set-up a call of a service failed, or a service was not there.
    bool hasServiceFault = false;
    bool isServiceMissing = false;
    std::set<BasicString> providerNames;
};

} // namespace Oxa::Host::Modules
