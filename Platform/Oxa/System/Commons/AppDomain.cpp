#include "Oxa/System/Commons/AppDomain.hpp"

#include <utility>

namespace Oxa::System::Commons
{

template class Singleton<AppDomain>;

AppDomain::AppDomain(BasicString name) : name(std::move(name)) {}

AppDomain::~AppDomain() = default;

void AppDomain::SetVariable(const BasicString& variableName, BasicString value)
{
    const MutexLock lock(mutex);
    variables.insert_or_assign(variableName, std::move(value));
}

std::optional<BasicString> AppDomain::TryGetVariable(std::string_view variableName) const
{
    const MutexLock lock(mutex);
    const auto found = variables.find(variableName);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
}

} // namespace Oxa::System::Commons
