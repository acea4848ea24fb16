#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <unordered_map>

namespace Oxa::System::Um::Internal
{

/// What a token stands for: the id of a user and how often that user's logins had been ended, or the id of an API
/// token. Ids are never used again.
struct Login
{
    int64 id = 0;
    int64 passwordGeneration = 0;
    bool isApiToken = false;

    bool operator==(const Login&) const = default;
};

/// The tokens in use. Bounded: one more ends the oldest, of the same user or of all. Safe from any thread.
class TokenTable final
{
public:
    static constexpr std::size_t maximumTokensPerUser = 64;
    static constexpr std::size_t maximumTokens = 4096;

    /// `random` must not be predictable; called under the table's lock.
    explicit TokenTable(std::function<uint32()> random);

    /// A token that is not 0 and not in use.
    [[nodiscard]] SecurityToken Add(const Login& login);

    /// One that an equal login has, else as `Add`.
    [[nodiscard]] SecurityToken FindOrAdd(const Login& login);

    [[nodiscard]] std::optional<Login> TryGet(SecurityToken token) const;
    void Remove(SecurityToken token) noexcept;
    void RemoveUser(int64 userId) noexcept;

private:
    struct Entry
    {
        Login login;
        uint64 sequence = 0;
    };

    [[nodiscard]] SecurityToken AddLocked(const Login& login) OXA_REQUIRES(mutex);
    [[nodiscard]] uint32 MakeTokenValue() const OXA_REQUIRES(mutex);
    template <class Predicate>
    void EraseOldest(Predicate isCandidate) OXA_REQUIRES(mutex);

    const std::function<uint32()> random;
    mutable System::Commons::Mutex mutex;
    std::unordered_map<uint32, Entry> entries OXA_GUARDED_BY(mutex);
    uint64 nextSequence OXA_GUARDED_BY(mutex) = 0;
};

} // namespace Oxa::System::Um::Internal
