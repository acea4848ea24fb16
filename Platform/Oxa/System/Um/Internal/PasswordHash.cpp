#include "Oxa/System/Um/Internal/PasswordHash.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <sodium.h>
#include <sys/mman.h>

#include <array>
#include <cstddef>

namespace Oxa::System::Um::Internal
{

using System::Commons::InvalidOperationException;
using System::Commons::Mutex;
using System::Commons::MutexLock;

namespace
{

// The widely recommended minimum for argon2id. It costs a small controller some hundredths of a second, and memory that
// it can spare for one log-in at a time.
constexpr std::size_t memoryBytes = 19 * 1024 * 1024;
constexpr unsigned long long passes = 2;

/// Held while memory for a hash is in use; no other mutex is taken under it.
Mutex hashing;

/// libsodium reports a lack of memory as a hash that does not match; this tells the two apart.
bool HasMemory()
{
    constexpr std::size_t neededBytes = memoryBytes + std::size_t{64} * 1024;
    void* const memory = mmap(nullptr, neededBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED && munmap(memory, neededBytes) == 0;
}

[[noreturn]] void ThrowOutOfMemory(const char* operation)
{
    throw InvalidOperationException::Create("cannot {0} a password: not enough memory", operation);
}

/// `operation` is for the error text.
BasicString Hash(std::string_view password, const char* operation)
{
    const MutexLock lock(hashing);
    std::array<char, crypto_pwhash_STRBYTES> text{};
    if (crypto_pwhash_str_alg(text.data(), password.data(), password.size(), passes, memoryBytes,
                              crypto_pwhash_ALG_ARGON2ID13) != 0)
    {
        ThrowOutOfMemory(operation);
    }
    return text.data();
}

} // namespace

BasicString HashPassword(std::string_view password)
{
    return Hash(password, "hash");
}

bool VerifyPassword(const BasicString& hash, std::string_view password)
{
    const MutexLock lock(hashing);
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

void PretendToVerifyPassword(std::string_view password)
{
    (void)Hash(password, "check");
}

} // namespace Oxa::System::Um::Internal
