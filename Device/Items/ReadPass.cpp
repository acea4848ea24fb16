#include "Device/Items/ReadPass.hpp"

#include <atomic>

namespace Oxa::Device::Linux::Items
{

ReadPass::ReadPass(uint64 number) noexcept : number(number) {}

ReadPass ReadPass::Begin() noexcept
{
    static std::atomic<uint64> lastNumber = 0;
    return ReadPass(lastNumber.fetch_add(1, std::memory_order_relaxed) + 1);
}

} // namespace Oxa::Device::Linux::Items
