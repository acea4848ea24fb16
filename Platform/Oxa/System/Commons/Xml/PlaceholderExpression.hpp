#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <optional>
#include <string_view>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::System::Commons::Xml
{

/// Resolves placeholders in configuration texts: ${NAME} becomes the application domain's variable of that name, else
/// the environment's; an unknown one stays as it is. ${NAME:-DEFAULT} becomes the default, in which placeholders are
/// resolved, when the variable is unknown or empty. Placeholders in the value of a variable are not resolved.
/// Threads: as safe as the application domain; the environment must not change meanwhile.
class OXA_EXPORT PlaceholderExpression final
{
public:
    /// `appDomain` is borrowed; null: only the environment.
    explicit PlaceholderExpression(const AppDomain* appDomain) noexcept;

    [[nodiscard]] BasicString Resolve(std::string_view text) const;

private:
    [[nodiscard]] BasicString ResolvePlaceholder(std::string_view placeholder) const;
    [[nodiscard]] std::optional<BasicString> FindVariable(const BasicString& name) const;

    const AppDomain* appDomain;
};

} // namespace Oxa::System::Commons::Xml
