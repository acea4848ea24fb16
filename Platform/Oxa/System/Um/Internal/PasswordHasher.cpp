#include "Oxa/System/Um/Internal/PasswordHasher.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sodium.h>
#include <sys/mman.h>

#include <array>
#include <string_view>

namespace Oxa::System::Um::Internal
{

using System::Commons::InvalidOperationException;
using System::Commons::MutexLock;

namespace
{

// The widely recommended minimum for argon2id. It costs a small controller some hundredths of a second, and memory that
// it can spare for one log-in at a time.
constexpr std::size_t memoryBytes = 19 * 1024 * 1024;
constexpr unsigned long long passes = 2;

/// libsodium reports a lack of memory as a hash that does not match; this tells the two apart.
bool HasMemory()
{
    constexpr std::size_t neededBytes = memoryBytes + std::size_t{64} * 1024;
    void* const memory = mmap(nullptr, neededBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED && munmap(memory, neededBytes) == 0;
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
    return Hash(password, "hash");
}

BasicString PasswordHasher::Hash(const BasicString& password, const char* operation)
{
    const MutexLock lock(mutex);
    std::array<char, crypto_pwhash_STRBYTES> text{};
    if (crypto_pwhash_str_alg(text.data(), password.data(), password.size(), passes, memoryBytes,
                              crypto_pwhash_ALG_ARGON2ID13) != 0)
    {
        ThrowOutOfMemory(operation);
    }
    return text.data();
}

bool PasswordHasher::Verify(const BasicString& hash, const BasicString& password)
{
    const MutexLock lock(mutex);
    if (crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0)
    {
        return true;
    }
    if (!HasMemory())
    {
        ThrowOutOfMemory("check");
    }
    return false;
}

void PasswordHasher::Imitate(const BasicString& password)
{
    (void)Hash(password, "check");
}

} // namespace Oxa::System::Um::Internal
