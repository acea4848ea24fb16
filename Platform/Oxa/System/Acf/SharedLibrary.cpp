#include "Oxa/System/Acf/SharedLibrary.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <dlfcn.h>

#include <string_view>
#include <utility>

namespace Oxa::System::Acf
{

using System::Commons::InvalidOperationException;

namespace
{

/// What the loader said last, which it says only once; without the path where it begins with that.
BasicString TakeLoaderError(const BasicString& path)
{
    const char* error = ::dlerror();
    std::string_view text = error != nullptr ? error : "unknown cause";
    if (text.starts_with(path + ": "))
    {
        text.remove_prefix(path.size() + 2);
    }
    return BasicString(text);
}

} // namespace

SharedLibrary::SharedLibrary(const BasicString& path) : path(path)
{
    // The loader takes an empty path for the program itself.
    if (path.empty())
    {
        throw InvalidOperationException::Create("cannot load '': the path is empty");
    }
    handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
    {
        throw InvalidOperationException::Create("cannot load '{0}': {1}", path, TakeLoaderError(path));
    }
}

SharedLibrary::SharedLibrary(SharedLibrary&& other) noexcept
    : path(std::move(other.path)), handle(std::exchange(other.handle, nullptr))
{
}

SharedLibrary& SharedLibrary::operator=(SharedLibrary&& other) noexcept
{
    if (this != &other)
    {
        Close();
        path = std::move(other.path);
        handle = std::exchange(other.handle, nullptr);
    }
    return *this;
}

SharedLibrary::~SharedLibrary()
{
    Close();
}

const BasicString& SharedLibrary::GetPath() const noexcept
{
    return path;
}

bool SharedLibrary::IsSameAs(const SharedLibrary& other) const noexcept
{
    return handle == other.handle;
}

void* SharedLibrary::FindSymbol(const char* name) const
{
    void* symbol = ::dlsym(handle, name);
    if (symbol == nullptr)
    {
        throw InvalidOperationException::Create("cannot find the function '{0}' in '{1}': {2}", name, path,
                                                TakeLoaderError(path));
    }
    return symbol;
}

void SharedLibrary::Close() noexcept
{
    if (handle != nullptr)
    {
        ::dlclose(handle);
    }
}

} // namespace Oxa::System::Acf
