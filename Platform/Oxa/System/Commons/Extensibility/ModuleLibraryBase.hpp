#pragma once

#include "Oxa/System/Commons/Extensibility/ModuleFactory.hpp"

namespace Oxa::System::Commons::Extensibility
{

/// What the entry function of a module library returns: the library owns the object, and it lives until the shared
/// object is unloaded.
template <class TModule>
class ModuleLibraryBase
{
public:
    ModuleLibraryBase() = default;
    ModuleLibraryBase(const ModuleLibraryBase&) = delete;
    ModuleLibraryBase& operator=(const ModuleLibraryBase&) = delete;
    virtual ~ModuleLibraryBase() = default;

    [[nodiscard]] ModuleFactory<TModule>& GetModuleFactory() noexcept
    {
        return moduleFactory;
    }

    [[nodiscard]] const ModuleFactory<TModule>& GetModuleFactory() const noexcept
    {
        return moduleFactory;
    }

private:
    ModuleFactory<TModule> moduleFactory;
};

} // namespace Oxa::System::Commons::Extensibility
