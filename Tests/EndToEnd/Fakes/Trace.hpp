#pragma once

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <fstream>

namespace Oxa::Tests::EndToEnd
{

/// Appends a line to the file that the variable FAKE_TRACE names, for the test to read.
inline void Trace(const char* line)
{
    const auto* const appDomain = System::Commons::Singleton<System::Commons::AppDomain>::TryGetInstance();
    const auto path = appDomain != nullptr ? appDomain->TryGetVariable("FAKE_TRACE") : std::nullopt;
    if (path)
    {
        std::ofstream(*path, std::ios::app) << line << '\n';
    }
}

/// What is to go wrong: the variable FAKE_FAULT.
inline BasicString GetFault(const System::Commons::AppDomain& appDomain)
{
    return appDomain.TryGetVariable("FAKE_FAULT").value_or("");
}

} // namespace Oxa::Tests::EndToEnd
