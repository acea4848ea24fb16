#pragma once

#include "Support/Eventually.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

namespace Oxa::Tests::Support
{

/// How many descriptors and threads the process had when this was made.
class Possessions final
{
public:
    Possessions() = default;

    void ExpectSame() const
    {
        ExpectSameThreads();
        ExpectSameDescriptors();
    }

    void ExpectSameDescriptors() const
    {
        ExpectSame(descriptorFolder, descriptors);
    }

    void ExpectSameThreads() const
    {
        ExpectSame(threadFolder, threads);
    }

private:
    static constexpr const char* threadFolder = "/proc/self/task";
    static constexpr const char* descriptorFolder = "/proc/self/fd";

    /// Waits for what goes a moment later.
    static void ExpectSame(const char* folder, std::ptrdiff_t expected)
    {
        EXPECT_TRUE(Eventually([folder, expected] { return Count(folder) == expected; }))
            << Count(folder) << " instead of " << expected << " in " << folder;
    }

    [[nodiscard]] static std::ptrdiff_t Count(const char* folder)
    {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    }

    /// The thread sanitizer starts a thread of its own together with the first one, and keeps it.
    [[nodiscard]] static std::ptrdiff_t CountThreads()
    {
        std::string first;
        std::thread([&first] { first = std::to_string(gettid()); }).join();
        // The kernel forgets threads that were joined a moment later.
        while (std::filesystem::exists(std::filesystem::path(threadFolder) / first))
        {
            std::this_thread::yield();
        }
        return Count(threadFolder);
    }

    const std::ptrdiff_t threads = CountThreads();
    const std::ptrdiff_t descriptors = Count(descriptorFolder);
};

} // namespace Oxa::Tests::Support
