#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Identity
{

/// The text by which two runs of the device can be told apart: 36 characters, the form of a UUID. Safe from any thread.
class BootIdentity final
{
public:
    /// The machine's own boot id; a random one when `path` holds none.
    explicit BootIdentity(const BasicString& path);

    [[nodiscard]] BasicString Get() const;

    /// Another one, at random. Throws InvalidOperationException when the machine has no random numbers.
    void Renew();

private:
    mutable System::Commons::Mutex mutex;
    BasicString text;
};

} // namespace Oxa::Device::Linux::Identity
