#pragma once

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Oxa::System::Commons::Extensibility
{

/// The modules that a library can create, by name. Filled by the library's constructor, read by the host.
/// Threads: not locked; one writer, and no reader before it has finished.
template <class TModule>
class ModuleFactory
{
public:
    using FactoryFunction = std::function<std::unique_ptr<TModule>()>;

    ModuleFactory() = default;
    ModuleFactory(const ModuleFactory&) = delete;
    ModuleFactory& operator=(const ModuleFactory&) = delete;
    virtual ~ModuleFactory() = default;

    /// Throws ArgumentException when the name is empty, the function has no target or the name is taken, in this order.
    /// Names are compared byte for byte.
    void AddFactoryFunction(const BasicString& moduleName, FactoryFunction function)
    {
        if (moduleName.empty())
        {
            throw ArgumentException::Create("moduleName", moduleName, "Invalid module name");
        }
        if (!function)
        {
            throw ArgumentException::Create("function", static_cast<const void*>(nullptr), "Invalid factory function.");
        }
        if (Find(moduleName) != nullptr)
        {
            throw ArgumentException::Create("moduleName", moduleName, "Duplicate module name");
        }
        entries.emplace_back(moduleName, std::move(function));
    }

    /// A new module that the caller owns; null for an unknown name. Passes on what the module's constructor throws.
    [[nodiscard]] std::unique_ptr<TModule> CreateModule(const BasicString& moduleName) const
    {
        const FactoryFunction* function = Find(moduleName);
        return function != nullptr ? (*function)() : nullptr;
    }

    /// In the order in which they were added.
    [[nodiscard]] std::vector<BasicString> GetModuleNames() const
    {
        std::vector<BasicString> names;
        names.reserve(entries.size());
        for (const auto& [name, function] : entries)
        {
            names.push_back(name);
        }
        return names;
    }

private:
    using Entry = std::pair<BasicString, FactoryFunction>;

    [[nodiscard]] const FactoryFunction* Find(const BasicString& moduleName) const
    {
        const auto found = std::ranges::find(entries, moduleName, &Entry::first);
        return found != entries.end() ? &found->second : nullptr;
    }

    std::vector<Entry> entries;
};

} // namespace Oxa::System::Commons::Extensibility
