#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Acf
{

/// Owns the handle of a loaded shared library. What came out of the library must be gone before this is.
/// Movable, not copyable; an object that was moved from may only be assigned to or destroyed.
/// Threads: one at a time.
class OXA_EXPORT SharedLibrary final
{
public:
    /// Loads the library with everything it needs; a path without '/' is searched where the loader searches.
    /// Throws InvalidOperationException, "cannot load '{path}': {cause}". What the library's own initialisers throw
    /// ends the process, as with every library.
    explicit SharedLibrary(const BasicString& path);
    SharedLibrary(SharedLibrary&& other) noexcept;
    SharedLibrary& operator=(SharedLibrary&& other) noexcept;
    ~SharedLibrary();

    /// As given to the constructor.
    [[nodiscard]] const BasicString& GetPath() const noexcept;

    /// True when both are the same library in memory, whatever their paths.
    [[nodiscard]] bool IsSameAs(const SharedLibrary& other) const noexcept;

    /// The function of this name, never null. The caller answers for its type. Throws InvalidOperationException, with
    /// path and name, when the library has none.
    template <class F>
    [[nodiscard]] F* GetFunction(const char* name) const
    {
        return reinterpret_cast<F*>(FindSymbol(name));
    }

private:
    [[nodiscard]] void* FindSymbol(const char* name) const;
    void Close() noexcept;

    BasicString path;
    void* handle = nullptr;
};

} // namespace Oxa::System::Acf
