#include "Oxa/System/Rsc/RscUsageRecorder.hpp"

namespace Oxa::System::Rsc
{

namespace
{

thread_local RscUsageRecorder* current = nullptr;

} // namespace

RscUsageRecorder::RscUsageRecorder() noexcept : outer(current)
{
    current = this;
}

RscUsageRecorder::~RscUsageRecorder()
{
    current = outer;
}

void RscUsageRecorder::Note(const char* providerName)
{
    if (current != nullptr)
    {
        current->providerNames.emplace(providerName);
    }
}

void RscUsageRecorder::NoteMissing() noexcept
{
    if (current != nullptr)
    {
        current->isAnyMissing = true;
    }
}

const std::set<BasicString>& RscUsageRecorder::GetProviderNames() const noexcept
{
    return providerNames;
}

bool RscUsageRecorder::IsAnyMissing() const noexcept
{
    return isAnyMissing;
}

} // namespace Oxa::System::Rsc
