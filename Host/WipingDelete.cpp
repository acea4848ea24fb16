#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

// Replaces the operators by which every C++ object of the process is released, those of modules and libraries too:
// passwords, session keys and API tokens pass through requests, texts, JSON and tasks, and not one of these places can
// forget to wipe its copy. A request releases a few kilobytes, which takes some hundred nanoseconds to wipe.
// What is not released but used again, such as a connection's buffer, is wiped by its owner.

namespace
{

void Release(void* block, std::size_t size) noexcept
{
    explicit_bzero(block, size);
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc): what the operator new of the library calls malloc for
}

} // namespace

// The other forms call these.

void operator delete(void* block) noexcept
{
    if (block != nullptr)
    {
        Release(block, malloc_usable_size(block));
    }
}

void operator delete(void* block, std::size_t size) noexcept
{
    if (block != nullptr)
    {
        Release(block, size);
    }
}

void operator delete(void* block, std::align_val_t /*alignment*/) noexcept
{
    operator delete(block);
}
