#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// Clang checks at compile time that what is guarded by a mutex is touched only while the mutex is held
// (-Wthread-safety); other compilers ignore these.
#if defined(__clang__)
#define OXA_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define OXA_THREAD_ATTRIBUTE(attribute)
#endif

/// On a data member: may be read and written only while the mutex is held.
#define OXA_GUARDED_BY(mutex) OXA_THREAD_ATTRIBUTE(guarded_by(mutex))
/// On a function: the caller holds the mutex.
#define OXA_REQUIRES(...) OXA_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// On a function: the caller does not hold the mutex, because the function takes it.
#define OXA_EXCLUDES(...) OXA_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// On a function whose locking the analysis cannot follow; a comment says why it is right.
#define OXA_NO_THREAD_SAFETY_ANALYSIS OXA_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace Oxa::System::Commons
{

/// The platform's lock: not recursive, constant-initialised. Taken by a MutexLock.
class OXA_THREAD_ATTRIBUTE(capability("mutex")) Mutex final
{
public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    ~Mutex() = default;

private:
    friend class ConditionVariable;
    friend class MutexLock;

    std::mutex mutex;
};

/// Holds a mutex until it is destroyed; may release it and take it again in between.
class OXA_THREAD_ATTRIBUTE(scoped_lockable) MutexLock final
{
public:
    explicit MutexLock(Mutex& mutex) OXA_THREAD_ATTRIBUTE(acquire_capability(mutex)) : lock(mutex.mutex) {}

    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    ~MutexLock() OXA_THREAD_ATTRIBUTE(release_capability()) = default;

    void Unlock() OXA_THREAD_ATTRIBUTE(release_capability())
    {
        lock.unlock();
    }

    void Lock() OXA_THREAD_ATTRIBUTE(acquire_capability())
    {
        lock.lock();
    }

private:
    std::unique_lock<std::mutex> lock;
};

/// A condition that threads wait for under a mutex. Waits may end without reason: test the condition in a loop.
class ConditionVariable final
{
public:
    void Wait(Mutex& mutex) OXA_REQUIRES(mutex)
    {
        std::unique_lock lock(mutex.mutex, std::adopt_lock);
        condition.wait(lock);
        lock.release();
    }

    /// False when the time has come.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point time) OXA_REQUIRES(mutex)
    {
        std::unique_lock lock(mutex.mutex, std::adopt_lock);
        const bool isInTime = condition.wait_until(lock, time) == std::cv_status::no_timeout;
        lock.release();
        return isInTime;
    }

    void NotifyOne() noexcept
    {
        condition.notify_one();
    }

    void NotifyAll() noexcept
    {
        condition.notify_all();
    }

private:
    std::condition_variable condition;
};

} // namespace Oxa::System::Commons
