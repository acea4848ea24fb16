#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string_view>

namespace Oxa::Host
{

namespace Threads
{
class EventLoop;
}

/// Serves the files of folders, such as those of a page. The files are listed when a folder is set; a request's path is
/// only looked up in that list and never used as a path of the file system. "X.br" and "X.gz" beside "X" are the same
/// file, compressed, and sent as they are to clients that accept that. Contents are read for each response, so a file
/// that is replaced is served as it is now. Entity tags are hashes of the content.
/// Threads: safe from any thread.
class StaticFiles final : private System::Commons::Diagnostics::Logging::Loggable<StaticFiles>
{
public:
    /// Larger files are not served.
    static constexpr std::size_t maximumFileBytes = std::size_t{4} * 1024 * 1024;
    /// In one folder with its subfolders.
    static constexpr std::size_t maximumFiles = 4096;

    /// Borrowed.
    explicit StaticFiles(Threads::EventLoop& loop);
    StaticFiles(const StaticFiles&) = delete;
    StaticFiles& operator=(const StaticFiles&) = delete;
    ~StaticFiles();

    /// Serves the files of the folder and its subfolders below the path, in place of those that were served there. The
    /// path begins and ends with "/" and is that of "index.html" as well. Files that cannot be served are logged: too
    /// large, or with a name that is hidden or has other characters than "A-Za-z0-9-._~@+,=". Throws
    /// InvalidOperationException, and nothing has changed, when the folder cannot be read, has too many files, or other
    /// users than root and this one could change a file. A folder that does not exist has no files.
    void SetFolder(std::string_view path, const BasicString& folder);

    /// Serves nothing below the path any more, unless another folder does.
    void RemoveFolder(std::string_view path);

    /// Whether there is a file for this path.
    [[nodiscard]] bool Serves(std::string_view path) const;

    /// 404 for a path without a file. Throws InvalidOperationException when the file cannot be read.
    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange);

private:
    struct Content;
    struct File;
    class Listing;
    /// By their paths in requests.
    using Files = std::map<BasicString, std::shared_ptr<const File>, std::less<>>;

    [[nodiscard]] std::shared_ptr<const File> Find(std::string_view path) const;
    void Send(Http::IHttpExchange& exchange, const File& file);

    Threads::EventLoop& loop;
    mutable System::Commons::Mutex mutex;
    /// By their paths in requests. The longest one that fits is the last one.
    std::map<BasicString, Files, std::less<>> folders OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host
