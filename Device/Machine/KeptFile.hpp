#pragma once

#include "Device/Machine/RetryPace.hpp"
#include "Device/Machine/SteadyClock.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <span>
#include <string_view>

namespace Oxa::Device::Linux::Machine
{

/// A file of the machine that is opened once and then read from its start again and again. It is opened anew when it
/// was replaced by another file, or when reading fails as it does after a device was taken away and brought back; one
/// that fails then as well, or is not there, at most once a second, and what it failed with is the answer in between.
/// Threads: safe from several threads; one reads at a time.
class KeptFile final
{
public:
    /// As much as any file of one value needs; what lies behind is never looked at.
    static constexpr std::size_t pageBytes = 4096;

    /// The text of a read, or the errno of its failure.
    struct Content
    {
        std::string_view text;
        int error = 0;
    };

    /// What becomes of a file that was open and then fails.
    enum class Reopening
    {
        ByPath,
        /// The file is not opened a second time, because another device may have the path by then; every later read
        /// fails.
        Never
    };

    /// Opens nothing yet.
    explicit KeptFile(BasicString path, Reopening reopening = Reopening::ByPath, SteadyClock clock = &ReadSteadyClock);
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;
    ~KeptFile();

    /// As much of the file as `buffer` holds; the text is valid as long as that. Never blocks on a pipe.
    [[nodiscard]] Content Read(std::span<char> buffer) noexcept;

    [[nodiscard]] const BasicString& GetPath() const noexcept;

    /// "cannot read '/x': Permission denied"
    [[nodiscard]] BasicString DescribeError(int error) const;

private:
    [[nodiscard]] Content ReadKept(std::span<char> buffer) noexcept;
    void Open() noexcept;
    [[nodiscard]] bool WasReplaced() const noexcept;

    const BasicString path;
    const Reopening reopening;
    const SteadyClock clock;

    /// Guards what follows.
    System::Commons::Mutex mutex;
    RetryPace pace;
    System::Commons::FileDescriptor descriptor;
    /// Why it is not open.
    int openingError = 0;
    bool isReplaceable = false;
};

} // namespace Oxa::Device::Linux::Machine
