#pragma once

#include "Device/Machine/BoundedCalls.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <concepts>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace Oxa::Device::Linux::Machine
{

/// A file of the machine that is opened once and then read from its start again and again. It is reopened when it was
/// replaced by another file, or when reading fails, as after a device was removed and added again. A file that cannot
/// be opened is tried once a second; reads in between report the last error. A file that is neither the kernel's nor on
/// a local disk is read on another thread, because that may hang. So is a file of sysfs for a minute after a read of it
/// was slow, and in a pass that has spent its budget: its driver may wait for a bus. Threads: safe from several
/// threads; one reads at a time.
class KeptFile final
{
public:
    /// As much as any file of one value needs; the rest of a file is ignored.
    static constexpr std::size_t pageBytes = 4096;

    /// The text of a read, or the errno of its failure; `BoundedCalls::hangs` for a read that lasts.
    struct Content
    {
        std::string_view text;
        int error = 0;
    };

    /// What happens to a file that was open and then fails.
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

    /// As much of the file as `buffer` holds; the text is valid as long as that. Never blocks on a pipe, and on a file
    /// that hangs no longer than the budget allows, except for the first slow read of a file of sysfs.
    [[nodiscard]] Content Read(std::span<char> buffer, WaitBudget& budget) noexcept;

    /// The same with a budget of its own.
    [[nodiscard]] Content Read(std::span<char> buffer) noexcept;

    /// The file's content as one whole number. Without a number, `cause` tells why, and `error` is the content's.
    template <std::integral T>
    [[nodiscard]] std::optional<T> ReadNumber(BasicString& cause, int& error, WaitBudget& budget)
    {
        std::array<char, 64> buffer;
        const Content content = Read(buffer, budget);
        error = content.error;
        const auto number =
            content.error == 0 ? DeviceText::ParseNumber<T>(DeviceText::Trim(content.text)) : std::nullopt;
        if (!number)
        {
            cause = content.error != 0 ? DescribeError(content.error) : "'" + path + "' holds no whole number";
        }
        return number;
    }

    template <std::integral T>
    [[nodiscard]] std::optional<T> ReadNumber(BasicString& cause, WaitBudget& budget)
    {
        int error = 0;
        return ReadNumber<T>(cause, error, budget);
    }

    [[nodiscard]] const BasicString& GetPath() const noexcept;

    /// "cannot read '/x': Permission denied"
    [[nodiscard]] BasicString DescribeError(int error) const;

private:
    class OpenedFile;

    [[nodiscard]] bool IsSlow(SteadyTime now) const noexcept OXA_REQUIRES(calls.GetMutex());
    /// Whether the calling thread may read it.
    [[nodiscard]] bool IsReadHere(SteadyTime now, const WaitBudget& budget) const noexcept
        OXA_REQUIRES(calls.GetMutex());
    [[nodiscard]] Content ReadHere(std::span<char> buffer, WaitBudget& budget, SteadyTime now) noexcept
        OXA_REQUIRES(calls.GetMutex());
    [[nodiscard]] Content ReadOnThread(std::span<char> buffer, WaitBudget& budget, SteadyTime now)
        OXA_REQUIRES(calls.GetMutex());

    const BasicString path;
    const SteadyClock clock;
    BoundedCalls calls;
    /// Shared with the thread of a call that hangs.
    const std::shared_ptr<OpenedFile> file OXA_GUARDED_BY(calls.GetMutex());
    /// A minute after the last slow read.
    SteadyTime slowUntil OXA_GUARDED_BY(calls.GetMutex());
};

} // namespace Oxa::Device::Linux::Machine
