#include "Host/StaticFiles.hpp"

#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/TrustedPath.hpp"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Host
{

using Http::Handling;
using System::Commons::FileDescriptor;
using System::Commons::InvalidOperationException;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Text::Format;

namespace
{

constexpr std::string_view indexName = "index.html";

/// The preferred coding first.
constexpr std::pair<std::string_view, std::string_view> codings[] = {{".br", "br"}, {".gz", "gzip"}};

std::string_view FindMediaType(std::string_view name)
{
    static constexpr std::pair<std::string_view, std::string_view> types[] = {
        {".avif", "image/avif"},
        {".css", "text/css; charset=utf-8"},
        {".gif", "image/gif"},
        {".html", "text/html; charset=utf-8"},
        {".ico", "image/vnd.microsoft.icon"},
        {".jpeg", "image/jpeg"},
        {".jpg", "image/jpeg"},
        {".js", "text/javascript; charset=utf-8"},
        {".json", Http::jsonMediaType},
        {".map", Http::jsonMediaType},
        {".mjs", "text/javascript; charset=utf-8"},
        {".pdf", "application/pdf"},
        {".png", "image/png"},
        {".svg", "image/svg+xml"},
        {".txt", "text/plain; charset=utf-8"},
        {".wasm", "application/wasm"},
        {".webmanifest", "application/manifest+json"},
        {".webp", "image/webp"},
        {".woff", "font/woff"},
        {".woff2", "font/woff2"},
        {".xml", "application/xml"}};
    const std::string_view extension = name.substr(std::min(name.rfind('.'), name.size()));
    const auto* const found =
        std::ranges::find(types, extension, &std::pair<std::string_view, std::string_view>::first);
    return found == std::end(types) ? "application/octet-stream" : found->second;
}

/// "NAME-HASH.EXTENSION" with the eight characters of base32 that bundlers put into names: the content never changes.
bool IsNamedByContent(std::string_view name)
{
    constexpr std::size_t hashLength = 8;
    const std::size_t end = name.rfind('.');
    const std::size_t begin = name.rfind('-', end);
    return end != std::string_view::npos && begin != std::string_view::npos && end - begin == hashLength + 1 &&
           name.substr(begin + 1, hashLength).find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ234567") ==
               std::string_view::npos;
}

/// Every folder and the name: visible, and spelled in a request as it is in the folder.
bool IsServedName(const std::filesystem::path& relative)
{
    static constexpr std::string_view allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~@+,=";
    return std::ranges::all_of(relative,
                               [](const std::filesystem::path& each)
                               {
                                   const std::string_view name = each.native();
                                   return !name.starts_with('.') &&
                                          name.find_first_not_of(allowed) == std::string_view::npos;
                               });
}

/// Of the field Accept-Encoding. A coding that it does not name need not be sent.
bool Accepts(std::string_view field, std::string_view coding)
{
    while (!field.empty())
    {
        std::string_view parameters = Http::TakeUntil(field, ',');
        if (Http::AreEqual(Http::Trim(Http::TakeUntil(parameters, ';')), coding))
        {
            const std::string_view weight = Http::Trim(parameters);
            return weight.size() < 2 || !Http::AreEqual(weight.substr(0, 2), "q=") ||
                   weight.find_first_not_of("0.", 2) != std::string_view::npos;
        }
    }
    return false;
}

/// Of the field If-None-Match, which compares weakly.
bool Names(std::string_view field, std::string_view tag)
{
    while (!field.empty())
    {
        std::string_view each = Http::Trim(Http::TakeUntil(field, ','));
        each.remove_prefix(each.starts_with("W/") ? 2 : 0);
        if (each == tag || each == "*")
        {
            return true;
        }
    }
    return false;
}

/// Quoted.
BasicString MakeTag(std::string_view content)
{
    std::array<unsigned char, crypto_generichash_BYTES_MIN> hash;
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(content.data()), content.size(),
                       nullptr, 0);
    std::array<char, sodium_base64_ENCODED_LEN(hash.size(), sodium_base64_VARIANT_URLSAFE_NO_PADDING)> text;
    sodium_bin2base64(text.data(), text.size(), hash.data(), hash.size(), sodium_base64_VARIANT_URLSAFE_NO_PADDING);
    return Format("\"{0}\"", text.data());
}

[[noreturn]] void ThrowUnreadable(const BasicString& path, const char* cause)
{
    throw InvalidOperationException::Create("cannot read '{0}': {1}", path, cause);
}

/// What changes when the content does.
struct Version
{
    explicit Version(const struct stat& status)
        : device(status.st_dev),
          node(status.st_ino),
          bytes(status.st_size),
          seconds(status.st_ctim.tv_sec),
          nanoseconds(status.st_ctim.tv_nsec)
    {
    }

    bool operator==(const Version&) const = default;

    dev_t device;
    ino_t node;
    off_t bytes;
    time_t seconds;
    long nanoseconds;
};

/// An open file of the list.
class OpenFile final
{
public:
    explicit OpenFile(const BasicString& path)
        : path(path), descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
    {
        if (!descriptor.IsOpen() || fstat(descriptor.Get(), &status) != 0)
        {
            ThrowUnreadable(path, std::generic_category().message(errno).c_str());
        }
        if (!S_ISREG(status.st_mode) || static_cast<uint64>(status.st_size) > StaticFiles::maximumFileBytes)
        {
            ThrowUnreadable(path, "it is no file any more, or too large");
        }
    }

    [[nodiscard]] Version GetVersion() const
    {
        return Version(status);
    }

    [[nodiscard]] BasicString Read() const
    {
        BasicString content(static_cast<std::size_t>(status.st_size), '\0');
        for (std::size_t count = 0; count < content.size();)
        {
            const ssize_t read =
                pread(descriptor.Get(), content.data() + count, content.size() - count, static_cast<off_t>(count));
            if (read == 0 || (read < 0 && errno != EINTR))
            {
                ThrowUnreadable(path, read == 0 ? "it became shorter" : std::generic_category().message(errno).c_str());
            }
            count += static_cast<std::size_t>(std::max<ssize_t>(read, 0));
        }
        return content;
    }

private:
    const BasicString& path;
    FileDescriptor descriptor;
    struct stat status = {};
};

} // namespace

/// A file in one coding.
struct StaticFiles::Content
{
    /// Empty: as it is.
    std::string_view coding;
    BasicString path;

    /// The hash of the version that was read last. Guarded by the mutex of the list.
    mutable std::optional<Version> taggedVersion = {};
    mutable BasicString tag = {};
};

struct StaticFiles::File
{
    std::string_view mediaType;
    bool isNamedByContent = false;
    /// The preferred coding first, at the end the file as it is.
    std::vector<Content> contents;
};

/// Lists the files of one folder.
class StaticFiles::Listing final
{
public:
    Listing(const StaticFiles& owner, std::string_view prefix) : owner(owner), prefix(prefix) {}

    [[nodiscard]] Files Make(const BasicString& folder)
    {
        try
        {
            if (!std::filesystem::exists(folder))
            {
                owner.Log(LogLevel::Information, "there is no folder '{0}' to serve at '{1}'", folder, prefix);
                return {};
            }
            CheckTrust(folder);
            Collect(folder);
        }
        catch (const std::filesystem::filesystem_error& error)
        {
            ThrowUnreadable(error.path1().native(), error.code().message().c_str());
        }
        Files files;
        for (const auto& [name, path] : found)
        {
            if (!IsCodingOfAnother(name))
            {
                Add(files, name, path);
            }
        }
        return files;
    }

private:
    static void CheckTrust(const BasicString& path)
    {
        // What most files are; their folder has been checked.
        struct stat status = {};
        if (lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            (status.st_uid == 0 || status.st_uid == geteuid()) && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0)
        {
            return;
        }
        if (const auto weakness = System::Commons::FindPathWeakness(path))
        {
            throw InvalidOperationException::Create("other users could change what is served: {0}", *weakness);
        }
    }

    void Collect(const BasicString& folder)
    {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        {
            const std::filesystem::path relative = entry.path().lexically_relative(folder);
            if (entry.is_directory())
            {
                CheckTrust(entry.path().native());
                continue;
            }
            const char* const cause = !entry.is_regular_file()               ? "it is no file"
                                      : !IsServedName(relative)              ? "of its name"
                                      : entry.file_size() > maximumFileBytes ? "it has more than 4 MiB"
                                                                             : nullptr;
            if (cause != nullptr)
            {
                owner.Log(LogLevel::Warning, "'{0}' is not served, because {1}", entry.path().native(), cause);
                continue;
            }
            CheckTrust(entry.path().native());
            found.emplace(relative.native(), entry.path().native());
            if (found.size() > maximumFiles)
            {
                throw InvalidOperationException::Create("the folder '{0}' has more than {1} files", folder,
                                                        maximumFiles);
            }
        }
    }

    [[nodiscard]] bool IsCodingOfAnother(const BasicString& name) const
    {
        return std::ranges::any_of(
            codings, [this, &name](const auto& each)
            { return name.ends_with(each.first) && found.contains(name.substr(0, name.size() - each.first.size())); });
    }

    void Add(Files& files, const BasicString& name, const BasicString& path) const
    {
        const auto file = std::make_shared<File>(File{FindMediaType(name), IsNamedByContent(name), {}});
        for (const auto& [extension, coding] : codings)
        {
            if (const auto other = found.find(name + BasicString(extension)); other != found.end())
            {
                file->contents.push_back({coding, other->second});
            }
        }
        file->contents.push_back({{}, path});
        files.emplace(prefix + name, file);
        if (name.ends_with(indexName) &&
            (name.size() == indexName.size() || name[name.size() - indexName.size() - 1] == '/'))
        {
            files.emplace(prefix + name.substr(0, name.size() - indexName.size()), file);
        }
    }

    const StaticFiles& owner;
    const BasicString prefix;
    /// By their paths in the folder.
    std::map<BasicString, BasicString> found;
};

StaticFiles::StaticFiles(Threads::EventLoop& loop) : loop(loop) {}

StaticFiles::~StaticFiles() = default;

void StaticFiles::SetFolder(std::string_view path, const BasicString& folder)
{
    Files files = Listing(*this, path).Make(folder);
    const MutexLock lock(mutex);
    folders.insert_or_assign(BasicString(path), std::move(files));
}

void StaticFiles::RemoveFolder(std::string_view path)
{
    const MutexLock lock(mutex);
    if (const auto found = folders.find(path); found != folders.end())
    {
        folders.erase(found);
    }
}

bool StaticFiles::Serves(std::string_view path) const
{
    return Find(path) != nullptr;
}

Handling StaticFiles::Handle(const std::shared_ptr<Http::IHttpExchange>& exchange)
{
    const auto file = Find(exchange->GetRequest().path);
    if (!file)
    {
        return SendProblem(*exchange, Http::Problems::unknownPath);
    }
    if (!Http::IsRead(exchange->GetRequest().method))
    {
        return Http::SendMethodNotAllowed(*exchange, "GET, HEAD");
    }
    const Threads::EventLoop::BlockingSection call(loop);
    Send(*exchange, *file);
    return Handling::Completed;
}

std::shared_ptr<const StaticFiles::File> StaticFiles::Find(std::string_view path) const
{
    const MutexLock lock(mutex);
    const auto folder =
        std::find_if(folders.rbegin(), folders.rend(), [path](const auto& each) { return each.second.contains(path); });
    return folder == folders.rend() ? nullptr : folder->second.find(path)->second;
}

void StaticFiles::Send(Http::IHttpExchange& exchange, const File& file)
{
    const Http::HttpRequest& request = exchange.GetRequest();
    const Content& chosen =
        *std::ranges::find_if(file.contents, [&request](const Content& each)
                              { return each.coding.empty() || Accepts(request.acceptedCodings, each.coding); });
    const OpenFile open(chosen.path);
    BasicString content;
    BasicString tag;
    {
        const MutexLock lock(mutex);
        tag = chosen.taggedVersion == open.GetVersion() ? chosen.tag : "";
    }
    if (tag.empty())
    {
        content = open.Read();
        tag = MakeTag(content);
        const MutexLock lock(mutex);
        chosen.taggedVersion = open.GetVersion();
        chosen.tag = tag;
    }
    BasicString fields = Format("ETag: {0}\r\nCache-Control: {1}\r\n", tag,
                                file.isNamedByContent ? "public, max-age=31536000, immutable" : "no-cache");
    fields += file.contents.size() > 1 ? "Vary: Accept-Encoding\r\n" : "";
    const std::string_view policy =
        file.mediaType.starts_with("text/html") ? Http::BrowserPolicies::page : Http::BrowserPolicies::pagePart;
    if (Names(request.knownTags, tag))
    {
        exchange.Send({304, {}, {}, fields, policy});
        return;
    }
    fields += chosen.coding.empty() ? BasicString() : Format("Content-Encoding: {0}\r\n", chosen.coding);
    if (content.empty())
    {
        content = open.Read();
    }
    exchange.Send({200, file.mediaType, content, fields, policy});
}

} // namespace Oxa::Host
