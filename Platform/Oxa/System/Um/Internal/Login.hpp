#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um::Internal
{

/// Whom a token stands for: a user number, which is never used again, and how often that user's password had been
/// changed.
struct Login
{
    int64 userNumber = 0;
    int64 passwordGeneration = 0;

    bool operator==(const Login&) const = default;
};

} // namespace Oxa::System::Um::Internal
