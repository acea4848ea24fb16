#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <cstddef>

namespace Oxa::System::Rsc
{

/// Copies the next element of an array into `element`, which has room for `elementBytes`. `context` is the source's
/// own. Throws a platform exception when there is none or it has no room.
using ReadElementFunction = void (*)(void* context, void* element, std::size_t elementBytes);

/// What the payload of a variant of type Array holds. The elements are not in it: they are read one after the other
/// from the source, which is borrowed and valid only during the read that delivers the variant.
struct RscArrayInformation
{
    /// Of the first dimension.
    uint32 elementCount = 0;
    uint8 dimensions = 0;
    RscType elementType = RscType::NotSet;

    /// In the own process: null when the elements come from a remoting source.
    ReadElementFunction readElement = nullptr;
    void* readElementContext = nullptr;

    /// From another process: the connection's function and its state.
    ReadElementFunction readRemoteElement = nullptr;
    void* remotingSource = nullptr;
};

} // namespace Oxa::System::Rsc
