#include "Oxa/System/Rsc/Internal/Wire/RemoteArrays.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <cstring>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::ArgumentException;
using System::Commons::InvalidOperationException;

namespace
{

void RequireNext(const RemoteArray& array, std::size_t available)
{
    if (array.next >= available)
    {
        throw InvalidOperationException::Create("The array has no element after number {0}", array.next);
    }
}

/// A ReadElementFunction.
void ReadElement(void* context, void* element, std::size_t elementBytes)
{
    RemoteArray& array = *static_cast<RemoteArray*>(context);
    if (array.dimensions > 1)
    {
        RequireNext(array, array.subarrays.size());
        if (elementBytes != sizeof(RemoteArray::Subarray))
        {
            throw ArgumentException::Create("elementBytes", elementBytes,
                                            "Arrays of arrays are read as RscVariant<512>");
        }
        *static_cast<RemoteArray::Subarray*>(element) = array.subarrays[array.next++];
        return;
    }
    RequireNext(array, array.scalars.size());
    if (elementBytes < sizeof(RemoteArray::Scalar))
    {
        throw ArgumentException::Create("elementBytes", elementBytes, "There is no room for an element");
    }
    std::memcpy(element, array.scalars[array.next++].data(), sizeof(RemoteArray::Scalar));
}

} // namespace

RscArrayInformation RemoteArray::GetInformation() noexcept
{
    RscArrayInformation information;
    information.elementCount = elementCount;
    information.dimensions = dimensions;
    information.elementType = elementType;
    // No elements although some are announced: the array had no source in the process that sent it, and so it has none
    // here. For types that are not primitive no elements are sent, so their source says so when they are read.
    const bool hasSource = elementCount == 0 || !scalars.empty() || !subarrays.empty() || !IsPrimitive(elementType);
    information.readRemoteElement = hasSource ? &ReadElement : nullptr;
    information.remotingSource = hasSource ? this : nullptr;
    return information;
}

RemoteArray& RemoteArrays::Add()
{
    return arrays.emplace_back();
}

} // namespace Oxa::System::Rsc::Internal
