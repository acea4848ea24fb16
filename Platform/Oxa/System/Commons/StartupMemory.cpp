#include "Oxa/System/Commons/StartupMemory.hpp"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace Oxa::System::Commons
{

namespace
{

/// Only of segments that nobody can have written to: what was written is nowhere else.
int ReleaseSegments(dl_phdr_info* object, std::size_t /*size*/, void* /*context*/)
{
    const auto pageBytes = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    for (int index = 0; index < object->dlpi_phnum; ++index)
    {
        const auto& segment = object->dlpi_phdr[index];
        if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0)
        {
            continue;
        }
        const std::uintptr_t begin = (object->dlpi_addr + segment.p_vaddr) & ~(pageBytes - 1);
        const std::uintptr_t end = object->dlpi_addr + segment.p_vaddr + segment.p_memsz;
        // Not for the kernel's own object, which has no file. Nothing depends on it.
        (void)madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED); // NOLINT
    }
    return 0;
}

} // namespace

void ReleaseStartupMemory() noexcept
{
    malloc_trim(0);
    dl_iterate_phdr(&ReleaseSegments, nullptr);
}

} // namespace Oxa::System::Commons
