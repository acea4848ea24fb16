#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um::Internal
{

/// Makes and checks argon2id hashes, one at a time, because the memory of a controller does not suffice for many. Every
/// operation takes the same time and memory, independent of its result. Safe from any thread.
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
    [[nodiscard]] BasicString Hash(const BasicString& password, const char* operation);

    /// Held while memory is in use; guards no data.
    System::Commons::Mutex mutex;
};

} // namespace Oxa::System::Um::Internal
