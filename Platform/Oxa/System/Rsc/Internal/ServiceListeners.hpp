#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <condition_variable>
#include <list>

namespace Oxa::System::Rsc
{
class IRscServiceListener;
}

namespace Oxa::System::Rsc::Internal
{

/// Who wants to know when services go and come. Calls the listeners under no lock. Threads: safe from any thread.
class ServiceListeners final
{
public:
    void Add(IRscServiceListener& listener);
    /// Returns when no call into the listener is under way. Requires: the caller is none of its calls.
    void Remove(IRscServiceListener& listener);
    [[nodiscard]] bool IsEmpty() const;

    void ReportLost(const BasicString& providerName) noexcept;
    void ReportAvailable(const BasicString& providerName) noexcept;

private:
    using ReportFunction = void (IRscServiceListener::*)(const BasicString&);

    struct Entry
    {
        IRscServiceListener* listener;
        unsigned calls = 0;
        bool isRemoved = false;
    };

    void Report(const BasicString& providerName, ReportFunction function) noexcept;

    mutable System::Commons::Mutex mutex;
    std::condition_variable returned;
    std::list<Entry> entries;
};

} // namespace Oxa::System::Rsc::Internal
