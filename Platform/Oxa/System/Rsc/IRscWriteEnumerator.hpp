#pragma once

#include <cstddef>

namespace Oxa::System::Rsc
{

/// Takes the values that are passed to a service, one after the other. Valid during the call it is passed to.
template <class T>
class IRscWriteEnumerator
{
public:
    virtual ~IRscWriteEnumerator() = default;

    /// Followed by exactly `count` calls of `WriteNext`.
    virtual void BeginWrite(std::size_t count) = 0;

    virtual void WriteNext(const T& value) = 0;

    virtual void EndWrite() = 0;
};

} // namespace Oxa::System::Rsc
