#pragma once

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <atomic>

namespace Oxa::System::Commons
{

/// The one object of a type that a whole process shares, host and modules alike. It is borrowed: its owner sets it and
/// keeps it alive until it has been cleared. Safe from any thread.
template <class T>
class Singleton final
{
public:
    Singleton() = delete;

    /// False when there is an instance already, which then stays.
    static bool TrySetInstance(T& newInstance) noexcept
    {
        T* expected = nullptr;
        return instance.compare_exchange_strong(expected, &newInstance);
    }

    /// Null without an instance.
    [[nodiscard]] static T* TryGetInstance() noexcept
    {
        return instance.load();
    }

    /// Throws InvalidOperationException without an instance.
    [[nodiscard]] static T& GetInstance()
    {
        T* current = instance.load();
        if (current == nullptr)
        {
            throw InvalidOperationException::Create("The singleton has no instance");
        }
        return *current;
    }

    static void ClearInstance() noexcept
    {
        instance.store(nullptr);
    }

private:
    static std::atomic<T*> instance;
};

template <class T>
std::atomic<T*> Singleton<T>::instance = nullptr;

} // namespace Oxa::System::Commons
