#pragma once

#include <chrono>

namespace Oxa::System::Rsc::Internal
{

/// Bounds how often something is logged that others can bring about at will: at most ten times a minute.
/// Threads: one at a time.
class ServerLogLimit final
{
public:
    [[nodiscard]] bool Admits() noexcept
    {
        const auto now = std::chrono::steady_clock::now();
        if (count == 0 || now - periodBegin >= std::chrono::minutes(1))
        {
            periodBegin = now;
            count = 0;
        }
        return ++count <= 10;
    }

private:
    std::chrono::steady_clock::time_point periodBegin;
    unsigned count = 0;
};

} // namespace Oxa::System::Rsc::Internal
