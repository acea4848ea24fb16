#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/Wire/ValueEncoding.hpp"
#include "Oxa/System/Rsc/RscArrayInformation.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

#include <array>
#include <cstddef>
#include <list>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// The elements of one array that came from another process.
/// Threads: one at a time.
struct RemoteArray
{
    /// As wide as the widest primitive element; a narrower one is at its beginning.
    using Scalar = std::array<std::byte, RscArrayReader::maximumPrimitiveBytes>;
    using Subarray = RscVariant<subarrayBytes>;

    uint32 elementCount = 0;
    uint8 dimensions = 0;
    RscType elementType = RscType::NotSet;
    std::vector<Scalar> scalars;
    std::vector<Subarray> subarrays;
    std::size_t next = 0;

    /// What a variant says about this array. Valid as long as the array stays where it is.
    [[nodiscard]] RscArrayInformation GetInformation() noexcept;
};

/// The arrays of one answer, each at a place of its own.
class RemoteArrays final
{
public:
    [[nodiscard]] RemoteArray& Add();

private:
    std::list<RemoteArray> arrays;
};

} // namespace Oxa::System::Rsc::Internal
