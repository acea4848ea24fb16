#pragma once

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Acf/SharedLibrary.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::System::Acf
{

/// A component that was left out.
struct ComponentFailure
{
    /// The name in the configuration.
    BasicString name;
    /// A sentence that names the component, its library and the cause.
    BasicString text;
};

/// Loads components from shared libraries and runs their life cycle: Setup and Start in the order of loading, Stop and
/// destruction in the reverse order. A component that fails is logged with its library and the cause and left out; the
/// others continue. Owned by the process's main part. Threads: one at a time, unless noted.
class OXA_EXPORT ComponentManager final : private System::Commons::Diagnostics::Logging::Loggable<ComponentManager>
{
public:
    /// `appDomain` is passed to the entry functions and must outlive this object.
    explicit ComponentManager(System::Commons::AppDomain& appDomain);
    ComponentManager(const ComponentManager&) = delete;
    ComponentManager& operator=(const ComponentManager&) = delete;

    /// Stops the started components, destroys all and then closes their libraries.
    ~ComponentManager();

    /// Loads the library, unless another component has loaded it, and creates the component. A duplicate name is a
    /// failure, and so are files that other users could change (`RequireTrustedFiles`).
    void Load(const ComponentConfiguration& configuration);

    /// Each of these skips the components that are in another state.
    void SetupAll();
    void StartAll();
    void StopAll() noexcept;

    /// In the order in which they failed. From any thread.
    [[nodiscard]] std::vector<ComponentFailure> GetFailures() const;

    struct Activity
    {
        BasicString componentName;
        std::chrono::steady_clock::time_point begin;
    };

    /// The component that is being loaded, set up or started. From any thread.
    [[nodiscard]] std::optional<Activity> GetActivity() const;

private:
    enum class State : uint8
    {
        Created,
        SetUp,
        Started,
        Stopped
    };

    struct Library
    {
        SharedLibrary library;
        // Never null once the entry function has returned; owned by the library.
        ComponentLibraryBase* content = nullptr;
    };

    struct Component
    {
        ComponentConfiguration configuration;
        std::unique_ptr<IComponent> component;
        State state = State::Created;
    };

    void Create(const ComponentConfiguration& configuration);
    [[nodiscard]] Library& GetLibrary(const BasicString& path);
    [[nodiscard]] bool TryStart(const Component& entry);
    /// Moves each component from one state to the next; those for which `operation` returns false are destroyed.
    template <class Operation>
    void Advance(State from, State to, Operation operation);
    /// False when `operation` threw, which is then recorded as a failure of the component.
    template <class Operation>
    bool TryRun(const ComponentConfiguration& configuration, std::string_view operationName, Operation operation);
    void SetActivity(std::optional<Activity> newActivity);
    void AddFailure(const ComponentConfiguration& configuration, std::string_view operationName,
                    std::string_view cause);

    System::Commons::AppDomain& appDomain;
    // Declared before the components, so that the libraries are closed after them.
    std::list<Library> libraries;
    std::list<Component> components;

    /// Guards what other threads may read.
    mutable System::Commons::Mutex mutex;
    std::vector<ComponentFailure> failures OXA_GUARDED_BY(mutex);
    std::optional<Activity> activity OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Acf
