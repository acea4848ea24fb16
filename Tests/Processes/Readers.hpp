#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

namespace Oxa::Tests::Processes
{

class DeviceClient;
struct Outcome;

/// Threads that read all the time, each in its own way, over one client: single items, many at once, and one that takes
/// the service some time.
class Readers final
{
public:
    explicit Readers(const DeviceClient& client);
    Readers(const Readers&) = delete;
    Readers& operator=(const Readers&) = delete;
    ~Readers();

    /// Until every thread has got so many further right values; how long that took. Throws after 10 s.
    std::chrono::milliseconds WaitUntilRight(int values) const;

    void Stop();

    // After `Stop`.

    /// What came in and was not the value of the item that was read.
    [[nodiscard]] const BasicString& GetWrongValues() const noexcept;
    [[nodiscard]] std::chrono::milliseconds GetLongestCall() const noexcept;

private:
    static constexpr int count = 4;

    void Run(int index);
    void ReadOnce(int index, int round);
    void Note(int index, const Outcome& outcome, const BasicString& expected);

    const DeviceClient& client;
    std::atomic<bool> isStopping = false;
    std::array<std::atomic<int>, count> rightValues = {};
    std::mutex mutex;
    BasicString wrongValues;
    std::chrono::milliseconds longestCall{0};
    std::array<std::thread, count> threads;
};

/// Whether the condition comes true in time.
[[nodiscard]] bool Eventually(const std::function<bool()>& condition, std::chrono::milliseconds timeout);

} // namespace Oxa::Tests::Processes
