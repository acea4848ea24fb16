#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::System::Acf
{

/// Owns the handle of a loaded shared library. Objects that came from the library must be destroyed before it.
/// Movable, not copyable; an object that was moved from may only be assigned to or destroyed.
/// Threads: one at a time.
class OXA_EXPORT SharedLibrary final
{
public:
    /// Loads the library with its dependencies; a path without '/' is searched where the loader searches.
    /// Throws InvalidOperationException, "cannot load '{path}': {cause}". An exception of the library's own
    /// initialisers ends the process, as with every library.
    explicit SharedLibrary(const BasicString& path);

    /// As given to the constructor.
    [[nodiscard]] const BasicString& GetPath() const noexcept
    {
        return path;
    }

    /// True when both are the same library in memory, even if their paths differ.
    [[nodiscard]] bool IsSameAs(const SharedLibrary& other) const noexcept
    {
        return handle == other.handle;
    }

    /// The function of this name, never null. The caller is responsible for its type. Throws InvalidOperationException,
    /// with path and name, when the library has none.
    template <class F>
    [[nodiscard]] F* GetFunction(const char* name) const
    {
        return reinterpret_cast<F*>(FindSymbol(name));
    }

private:
    [[nodiscard]] void* FindSymbol(const char* name) const;

    struct Closer
    {
        void operator()(void* library) const noexcept;
    };

    BasicString path;
    std::unique_ptr<void, Closer> handle;
};

} // namespace Oxa::System::Acf
