#include "Oxa/System/Rsc/RscUsageRecorder.hpp"

namespace Oxa::System::Rsc
{

namespace
{

// A module asks through a static function that has no argument for it, from its own code on the thread that sets it up.
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

void RscUsageRecorder::Note(const char* providerName, uint64 epoch)
{
    if (current != nullptr)
    {
        current->epochs.emplace(providerName, epoch);
    }
}

const std::map<BasicString, uint64>& RscUsageRecorder::GetEpochs() const noexcept
{
    return epochs;
}

} // namespace Oxa::System::Rsc
