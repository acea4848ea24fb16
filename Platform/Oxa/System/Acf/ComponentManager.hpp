#pragma once

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <list>
#include <memory>
#include <string_view>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::System::Acf
{

namespace Internal
{
class ComponentLibrary;
class LoadedComponent;
} // namespace Internal

/// Loads components from shared libraries and takes them through their life: Setup and Start in the order of loading,
/// Stop and destruction in the reverse order. A component that fails, in whatever way, is logged with its library and
/// the cause and left out; the others go on.
/// Owned by the process's main part. Threads: one at a time.
class OXA_EXPORT ComponentManager final : private System::Commons::Diagnostics::Logging::Loggable<ComponentManager>
{
public:
    /// `appDomain` goes to the entry functions and must outlive this object.
    explicit ComponentManager(System::Commons::AppDomain& appDomain);
    ComponentManager(const ComponentManager&) = delete;
    ComponentManager& operator=(const ComponentManager&) = delete;

    /// Stops what runs, destroys the components and then closes their libraries.
    ~ComponentManager();

    /// Loads the library, unless another component came from the same path, and creates the component. A name that was
    /// given before is a failure.
    void Load(const ComponentConfiguration& configuration);

    void SetupAll();
    void StartAll();
    void StopAll() noexcept;

    /// One text for each component that was left out, naming it, its library and the cause.
    [[nodiscard]] const std::vector<BasicString>& GetFailures() const noexcept;

private:
    using Components = std::list<std::unique_ptr<Internal::LoadedComponent>>;

    [[nodiscard]] Internal::ComponentLibrary& GetLibrary(const BasicString& path);
    [[nodiscard]] std::unique_ptr<Internal::LoadedComponent> Create(const ComponentConfiguration& configuration);
    template <class Operation>
    void ForEach(std::string_view operationName, Operation operation);
    void AddFailure(const ComponentConfiguration& configuration, std::string_view operationName,
                    std::string_view cause);

    System::Commons::AppDomain& appDomain;
    // Declared before the components, so that it is destroyed after them.
    std::list<std::unique_ptr<Internal::ComponentLibrary>> libraries;
    Components components;
    std::vector<BasicString> failures;
};

} // namespace Oxa::System::Acf
