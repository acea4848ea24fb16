#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um::Internal
{

/// Makes and checks argon2id hashes, one at a time: a controller has not the memory for many. Every operation takes the
/// same time and memory, whatever it finds. Safe from any thread.
class PasswordHasher final
{
public:
    /// Throws InvalidOperationException when the machine has no source of randomness.
    PasswordHasher();

    // All three throw InvalidOperationException when memory is short.

    /// A text that holds algorithm, parameters, salt and hash.
    [[nodiscard]] BasicString Hash(const BasicString& password);

    [[nodiscard]] bool Verify(const BasicString& hash, const BasicString& password);

    /// Takes as long as `Verify`.
    void Imitate(const BasicString& password);

private:
    System::Commons::Mutex mutex;
};

} // namespace Oxa::System::Um::Internal
