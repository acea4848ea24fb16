#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace Oxa::System::Commons::Json::Internal
{

/// Memory for RapidJSON by the operators new and delete, in place of malloc and realloc: a program that replaces the
/// operators, for instance to wipe what is released, then sees this memory as well. Has the members that RapidJSON asks
/// of an allocator.
struct OperatorNewAllocator final
{
    static constexpr bool kNeedFree = true;

    static void* Malloc(std::size_t size)
    {
        return size == 0 ? nullptr : ::operator new(size);
    }

    static void* Realloc(void* block, std::size_t oldSize, std::size_t newSize)
    {
        void* const moved = Malloc(newSize);
        if (block != nullptr && moved != nullptr)
        {
            std::memcpy(moved, block, std::min(oldSize, newSize));
        }
        Free(block);
        return moved;
    }

    static void Free(void* block) noexcept
    {
        ::operator delete(block);
    }

    bool operator==(const OperatorNewAllocator&) const noexcept = default;
};

} // namespace Oxa::System::Commons::Json::Internal
