#pragma once

#include "Device/Items/ItemTable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::Device::Linux::Identity
{

/// The text that tells two runs of the device apart: 36 characters, the form of a UUID. Safe from any thread.
class BootIdentity final
{
public:
    /// The machine's own boot id; a random one when `path` holds none.
    explicit BootIdentity(const BasicString& path);

    [[nodiscard]] BasicString Get() const;

    /// Replaces it by a random one. Throws InvalidOperationException when the machine has no random numbers.
    void Renew();

private:
    mutable System::Commons::Mutex mutex;
    BasicString text OXA_GUARDED_BY(mutex);
};

/// Adds "Status.System.BootId" and "Status.System.BuildId", which show a reader that the device restarted or was
/// changed, unless there are such items. `descriptionFiles`: what the build id depends on beside the program.
/// Requires: `bootIdentity` is not null.
void AddIdentityItems(Items::ItemTable& table, std::shared_ptr<const BootIdentity> bootIdentity,
                      const std::vector<BasicString>& descriptionFiles);

} // namespace Oxa::Device::Linux::Identity
