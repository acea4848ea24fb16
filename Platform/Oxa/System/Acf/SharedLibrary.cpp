#include "Oxa/System/Acf/SharedLibrary.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <dlfcn.h>

#include <string_view>

namespace Oxa::System::Acf
{

using System::Commons::InvalidOperationException;

namespace
{

/// The loader's last error, which it returns only once, without the path at its begin.
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
    // To the loader an empty path means the program itself.
    if (path.empty())
    {
        throw InvalidOperationException::Create("cannot load '': the path is empty");
    }
    handle.reset(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!handle)
    {
        throw InvalidOperationException::Create("cannot load '{0}': {1}", path, TakeLoaderError(path));
    }
}

void* SharedLibrary::FindSymbol(const char* name) const
{
    void* symbol = ::dlsym(handle.get(), name);
    if (symbol == nullptr)
    {
        throw InvalidOperationException::Create("cannot find the function '{0}' in '{1}': {2}", name, path,
                                                TakeLoaderError(path));
    }
    return symbol;
}

void SharedLibrary::Closer::operator()(void* library) const noexcept
{
    ::dlclose(library);
}

} // namespace Oxa::System::Acf
