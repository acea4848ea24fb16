#include "Oxa/System/Commons/Diagnostics/Logging/Internal/LogTarget.hpp"

#include "Oxa/System/Commons/Diagnostics/BoundedWrite.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <list>
#include <memory>
#include <system_error>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

namespace
{

constexpr const char* patternWithTime = "%Y-%m-%dT%H:%M:%S.%e%z %* %n: %v\n";

/// A line that a full disk cut off is ended first, so that the next one stands alone.
bool WriteLine(int descriptor, std::string_view line, bool& isCutOff) noexcept
{
    BasicString text = isCutOff ? "\n" : "";
    text += line;
    std::string_view rest = text;
    while (!rest.empty())
    {
        const ssize_t written = write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
        {
            continue;
        }
        if (written <= 0)
        {
            isCutOff = isCutOff || rest.size() != text.size();
            return false;
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    isCutOff = false;
    return true;
}

} // namespace

LogTarget MakeConsoleTarget()
{
    const auto write = [isCutOff = false](LogLevel /*level*/, std::string_view line) mutable
    {
        return WriteLine(STDERR_FILENO, line, isCutOff);
    };
    return {IsJournalStream() ? "<%#>%n: %v\n" : patternWithTime, write};
}

LogTarget MakeFileTarget(const BasicString& path)
{
    // What cannot be made is told when the file is opened.
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    const auto file =
        std::make_shared<const FileDescriptor>(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    if (!file->IsOpen())
    {
        ThrowErrno("cannot open the log file '" + path + '\'', errno);
    }
    const auto write = [file, isCutOff = false](LogLevel /*level*/, std::string_view line) mutable
    {
        return WriteLine(file->Get(), line, isCutOff);
    };
    return {patternWithTime, write};
}

LogTarget MakeSyslogTarget(const BasicString& identity)
{
    // The C library keeps the pointer for as long as the process may log, so the texts are never freed; there are as
    // many as changes of the application's name.
    static auto& identities = *new std::list<BasicString>;
    identities.push_back(identity);
    openlog(identities.back().c_str(), LOG_PID, LOG_DAEMON);
    const auto write = [](LogLevel level, std::string_view line)
    {
        syslog(static_cast<int>(level), "%.*s", static_cast<int>(line.size()), line.data());
        return true;
    };
    return {"%n: %v", write};
}

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
