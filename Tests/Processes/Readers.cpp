#include "Processes/Readers.hpp"

#include "Processes/DeviceClient.hpp"
#include "Processes/DeviceProcess.hpp"

#include <poll.h>

#include <algorithm>
#include <stdexcept>

namespace Oxa::Tests::Processes
{

namespace
{

constexpr std::size_t maximumReport = 500;
constexpr const char* faults[] = {"NotAvailable", "TimedOut", "ConnectionLost"};

bool IsFault(const BasicString& text)
{
    return std::find(std::begin(faults), std::end(faults), text) != std::end(faults);
}

BasicString Echo(const BasicString& key)
{
    return key + '!';
}

} // namespace

Readers::Readers(const DeviceClient& client) : client(client)
{
    for (int index = 0; index < count; ++index)
    {
        threads.at(index) = std::thread([this, index] { Run(index); });
    }
}

Readers::~Readers()
{
    Stop();
}

std::chrono::milliseconds Readers::WaitUntilRight(int values) const
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    std::array<int, count> wanted = {};
    std::transform(rightValues.begin(), rightValues.end(), wanted.begin(),
                   [values](const auto& right) { return right + values; });
    const bool isDone = Eventually(
        [this, &wanted]
        { return std::equal(rightValues.begin(), rightValues.end(), wanted.begin(), std::greater_equal<>()); },
        std::chrono::seconds(10));
    if (!isDone)
    {
        throw std::runtime_error("no right values come");
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
}

void Readers::Stop()
{
    isStopping = true;
    for (std::thread& thread : threads)
    {
        if (thread.joinable())
        {
            thread.join();
        }
    }
}

const BasicString& Readers::GetWrongValues() const noexcept
{
    return wrongValues;
}

std::chrono::milliseconds Readers::GetLongestCall() const noexcept
{
    return longestCall;
}

void Readers::Run(int index)
{
    for (int round = 0; !isStopping; ++round)
    {
        ReadOnce(index, round);
    }
}

void Readers::ReadOnce(int index, int round)
{
    const BasicString first = index == 0 ? "Test.Slow" : MakeKey((7 * round + index) % DeviceProcess::itemsCount);
    const BasicString second = MakeKey((5 * round) % DeviceProcess::itemsCount);
    const bool isMany = index == 1;
    const Outcome outcome = isMany ? client.ReadMany({first, second, first}) : client.Read(first);
    const BasicString expected = isMany ? Echo(first) + ' ' + Echo(second) + ' ' + Echo(first) : Echo(first);
    Note(index, outcome, expected);
    if (IsFault(outcome.text))
    {
        // Leaves the processor to the service that is coming.
        poll(nullptr, 0, 1);
    }
}

void Readers::Note(int index, const Outcome& outcome, const BasicString& expected)
{
    const std::lock_guard lock(mutex);
    longestCall = std::max(longestCall, outcome.duration);
    if (outcome == expected)
    {
        ++rightValues.at(index);
    }
    else if (!IsFault(outcome.text) && wrongValues.size() < maximumReport)
    {
        wrongValues += outcome.text + " for " + expected + "; ";
    }
}

bool Eventually(const std::function<bool()>& condition, std::chrono::milliseconds timeout)
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
        {
            return false;
        }
        poll(nullptr, 0, 1);
    }
    return true;
}

} // namespace Oxa::Tests::Processes
