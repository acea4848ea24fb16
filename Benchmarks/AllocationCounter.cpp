#include "Benchmarks/AllocationCounter.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<std::size_t> allocationCount = 0;

} // namespace

namespace Oxa::Benchmarks
{

std::size_t GetAllocationCount() noexcept
{
    return allocationCount.load(std::memory_order_relaxed);
}

} // namespace Oxa::Benchmarks

void* operator new(std::size_t bytes)
{
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    void* const memory = std::malloc(bytes);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*bytes*/) noexcept
{
    std::free(memory);
}
