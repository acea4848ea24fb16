#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <set>

namespace Oxa::System::Rsc
{

/// Writes down whose services the thread that makes it asks the service manager for, and whether one was not there, as
/// long as it lives. A second one on the same thread takes over until it goes. Threads: the one that makes it.
class OXA_EXPORT RscUsageRecorder final
{
public:
    RscUsageRecorder() noexcept;
    RscUsageRecorder(const RscUsageRecorder&) = delete;
    RscUsageRecorder& operator=(const RscUsageRecorder&) = delete;
    ~RscUsageRecorder();

    [[nodiscard]] const std::set<BasicString>& GetProviderNames() const noexcept;

    /// Whether nobody provided one of the services.
    [[nodiscard]] bool IsAnyMissing() const noexcept;

private:
    friend class ServiceManager;

    // They do nothing on a thread without a recorder.
    static void Note(const char* providerName);
    static void NoteMissing() noexcept;

    RscUsageRecorder* const outer;
    std::set<BasicString> providerNames;
    bool isAnyMissing = false;
};

} // namespace Oxa::System::Rsc
