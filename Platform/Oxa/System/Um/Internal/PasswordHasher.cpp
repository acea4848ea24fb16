#include "Oxa/System/Um/Internal/PasswordHasher.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sodium.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <string_view>

namespace Oxa::System::Um::Internal
{

using System::Commons::InvalidOperationException;

namespace
{

// What is widely recommended as the least for argon2id. It costs a small controller some hundredths of a second, and
// memory that it can spare for one log-in at a time.
constexpr std::size_t memoryBytes = 19 * 1024 * 1024;
constexpr unsigned long long passes = 2;

using HashText = std::array<char, crypto_pwhash_STRBYTES>;

bool TryHash(const BasicString& password, HashText& text)
{
    return crypto_pwhash_str_alg(text.data(), password.data(), password.size(), passes, memoryBytes,
                                 crypto_pwhash_ALG_ARGON2ID13) == 0;
}

[[noreturn]] void ThrowOutOfMemory(std::string_view operation)
{
    throw InvalidOperationException::Create("cannot {0} a password: not enough memory", operation);
}

} // namespace

PasswordHasher::PasswordHasher()
{
    if (sodium_init() < 0)
    {
        throw InvalidOperationException::Create("cannot hash passwords: the machine has no source of randomness");
    }
}

BasicString PasswordHasher::Hash(const BasicString& password)
{
    const std::lock_guard lock(mutex);
    HashText text{};
    if (!TryHash(password, text))
    {
        ThrowOutOfMemory("hash");
    }
    return text.data();
}

bool PasswordHasher::Verify(const BasicString& hash, const BasicString& password)
{
    const std::lock_guard lock(mutex);
    errno = 0;
    if (crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0)
    {
        return true;
    }
    if (errno == ENOMEM)
    {
        ThrowOutOfMemory("check");
    }
    return false;
}

void PasswordHasher::Imitate(const BasicString& password)
{
    const std::lock_guard lock(mutex);
    HashText text{};
    if (!TryHash(password, text))
    {
        ThrowOutOfMemory("check");
    }
}

} // namespace Oxa::System::Um::Internal
