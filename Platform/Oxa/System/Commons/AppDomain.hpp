#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Singleton.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <map>
#include <optional>
#include <string_view>

namespace Oxa::System::Commons
{

/// The application that modules and components run in: its name, and the variables that placeholders in configuration
/// documents resolve from. Safe from any thread.
class OXA_EXPORT AppDomain final
{
public:
    explicit AppDomain(BasicString name);
    AppDomain(const AppDomain&) = delete;
    AppDomain& operator=(const AppDomain&) = delete;
    ~AppDomain();

    [[nodiscard]] const BasicString& GetName() const noexcept
    {
        return name;
    }

    void SetVariable(const BasicString& name, BasicString value);
    [[nodiscard]] std::optional<BasicString> TryGetVariable(std::string_view name) const;

private:
    const BasicString name;
    mutable Mutex mutex;
    std::map<BasicString, BasicString, std::less<>> variables OXA_GUARDED_BY(mutex);
};

// Instantiated once for the process: else every shared object would have an instance of its own.
extern template class OXA_EXPORT Singleton<AppDomain>;

} // namespace Oxa::System::Commons
