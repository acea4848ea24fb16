#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Oxa::Tests::Support
{

/// Collects what is logged, at every level, as long as it lives.
class LogRecorder final
{
public:
    struct Entry
    {
        System::Commons::Diagnostics::Logging::LogLevel level;
        BasicString typeName;
        BasicString message;

        bool operator==(const Entry&) const = default;
    };

    explicit LogRecorder(
        System::Commons::Diagnostics::Logging::LogLevel level = System::Commons::Diagnostics::Logging::LogLevel::Debug)
    {
        using namespace System::Commons::Diagnostics::Logging;
        LogConfiguration configuration;
        configuration.target = LogConfiguration::Target::None;
        configuration.level = level;
        LogManager::Configure(configuration);
        LogManager::AddSink(sink);
    }

    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    ~LogRecorder()
    {
        System::Commons::Diagnostics::Logging::LogManager::RemoveSink(sink);
    }

    [[nodiscard]] std::vector<Entry> GetEntries() const
    {
        const std::lock_guard lock(sink->mutex);
        return sink->entries;
    }

private:
    struct Sink final : System::Commons::Diagnostics::Logging::ILogSink
    {
        void Write(System::Commons::Diagnostics::Logging::LogLevel level, std::string_view typeName,
                   std::string_view message) override
        {
            const std::lock_guard lock(mutex);
            entries.push_back({level, BasicString(typeName), BasicString(message)});
        }

        mutable std::mutex mutex;
        std::vector<Entry> entries;
    };

    std::shared_ptr<Sink> sink = std::make_shared<Sink>();
};

} // namespace Oxa::Tests::Support
