#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <atomic>
#include <exception>
#include <typeinfo>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Gives class T a logger under T's fully qualified name: derive non-publicly and call `Log`. The logger is made at the
/// first use, once for all objects of T. `WithInstance` puts the object's address before every message, `WithThread`
/// the thread id. Safe from any thread; nothing escapes from `Log` but a failure to create the logger.
template <class T, bool WithInstance = false, bool WithThread = false>
class Loggable
{
protected:
    Loggable() = default;
    Loggable(const Loggable&) = default;
    Loggable(Loggable&&) noexcept = default;
    Loggable& operator=(const Loggable&) = default;
    Loggable& operator=(Loggable&&) noexcept = default;
    ~Loggable() = default;

    /// Placeholders {0}, {1}, …; formatted only when the level is wanted.
    template <class... Args>
    void Log(LogLevel level, const char* messageTemplate, const Args&... args) const
    {
        ILogAdapter& adapter = GetLogger();
        if (level > adapter.GetLevel())
        {
            return;
        }
        try
        {
            adapter.Write(level, MakePrefix() + Text::Format(messageTemplate, args...));
            return;
        }
        catch (const std::exception& exception)
        {
            WriteFormatFailure(adapter, exception.what());
        }
        catch (...)
        {
            WriteFormatFailure(adapter, "Unknown exception");
        }
        adapter.Write(level, messageTemplate);
    }

private:
    static ILogAdapter& GetLogger()
    {
        static Mutex mutex;
        // Borrowed: the log keeps its adapters alive longer than any static object that might still log.
        static std::atomic<ILogAdapter*> logger = nullptr;

        ILogAdapter* current = logger.load(std::memory_order_acquire);
        if (current == nullptr)
        {
            const System::Commons::MutexLock lock(mutex);
            current = logger.load(std::memory_order_relaxed);
            if (current == nullptr)
            {
                current = LogManager::CreateLogAdapter(Text::GetTypeName(typeid(T))).get();
                logger.store(current, std::memory_order_release);
            }
        }
        return *current;
    }

    [[nodiscard]] BasicString MakePrefix() const
    {
        BasicString prefix;
        if constexpr (WithInstance)
        {
            prefix += Text::Format("[{0}] ", static_cast<const void*>(this));
        }
        if constexpr (WithThread)
        {
            prefix += Text::Format("[thread {0}] ", LogManager::GetThreadId());
        }
        return prefix;
    }

    static void WriteFormatFailure(ILogAdapter& adapter, const char* reason) noexcept
    {
        try
        {
            adapter.Write(LogLevel::Error, BasicString("Exception occurs during format of log message: ") + reason);
        }
        catch (...)
        {
            adapter.Write(LogLevel::Error, "Exception occurs during format of log message: Unknown exception");
        }
    }
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
