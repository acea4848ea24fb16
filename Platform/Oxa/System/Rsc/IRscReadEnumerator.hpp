#pragma once

#include <cstddef>

namespace Oxa::System::Rsc
{

/// Hands out the values that a service delivers, one after the other. Valid during the call it is passed to.
template <class T>
class IRscReadEnumerator
{
public:
    virtual ~IRscReadEnumerator() = default;

    /// The number of values that the service announces; how many come, only `ReadNext` tells.
    virtual std::size_t BeginRead() = 0;

    /// False, and `value` is unchanged, when none is left.
    virtual bool ReadNext(T& value) = 0;

    virtual void EndRead() = 0;
};

} // namespace Oxa::System::Rsc
