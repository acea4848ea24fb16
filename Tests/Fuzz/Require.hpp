#pragma once

#include <cstdlib>

/// What has to hold for every input. Else the fuzzer keeps the input.
inline void Require(bool isTrue)
{
    if (!isTrue)
    {
        std::abort();
    }
}
