#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <map>

namespace Oxa::System::Rsc
{

/// Records for which providers the thread that makes it asks the service manager, as long as it lives, and the epochs
/// of their services. A second one on the same thread takes over until it goes. Threads: the one that makes it.
class OXA_EXPORT RscUsageRecorder final
{
public:
    RscUsageRecorder() noexcept;
    RscUsageRecorder(const RscUsageRecorder&) = delete;
    RscUsageRecorder& operator=(const RscUsageRecorder&) = delete;
    ~RscUsageRecorder();

    /// Each provider with its epoch when it was first asked for; 0: its services were not there.
    [[nodiscard]] const std::map<BasicString, uint64>& GetEpochs() const noexcept;

private:
    friend class ServiceManager;

    /// Does nothing on a thread without a recorder.
    static void Note(const char* providerName, uint64 epoch);

    RscUsageRecorder* const outer;
    std::map<BasicString, uint64> epochs;
};

} // namespace Oxa::System::Rsc
