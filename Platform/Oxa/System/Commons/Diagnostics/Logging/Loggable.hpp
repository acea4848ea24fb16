#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <exception>
#include <typeinfo>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Gives class T a logger under T's fully qualified name: derive non-publicly and call `Log`. The logger is created at
/// the first use, once for all objects of T. The two flags are part of the type's name, but adding the object's address
/// or the thread to messages is not implemented. Safe from any thread; `Log` throws only if the logger cannot be
/// created.
template <class T, bool WithInstance = false, bool WithThread = false>
class Loggable
{
    static_assert(!WithInstance && !WithThread, "not implemented");

protected:
    Loggable() = default;
    Loggable(const Loggable&) = default;
    Loggable(Loggable&&) noexcept = default;
    Loggable& operator=(const Loggable&) = default;
    Loggable& operator=(Loggable&&) noexcept = default;
    ~Loggable() = default;

    /// Placeholders {0}, {1}, …; formatted only when the level is enabled.
    template <class... Args>
    void Log(LogLevel level, const char* messageTemplate, const Args&... args) const
    {
        LogAdapter& adapter = GetLogger();
        if (level > adapter.GetLevel())
        {
            return;
        }
        try
        {
            adapter.Write(level, Text::Format(messageTemplate, args...));
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
    static LogAdapter& GetLogger()
    {
        // Borrowed: the log keeps its adapters until the process ends.
        static LogAdapter& logger = *LogManager::CreateLogAdapter(Text::GetTypeName(typeid(T)));
        return logger;
    }

    static void WriteFormatFailure(LogAdapter& adapter, const char* reason) noexcept
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
