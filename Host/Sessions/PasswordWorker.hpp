#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace Oxa::Host::Sessions
{

/// Runs what takes long on purpose, the hashing of passwords, and changes of the users, which wait for the disk: one
/// task after the other, on a thread of its own at a low priority, which begins with the first task. Tasks of
/// clients that have disconnected are dropped. The destructor finishes the task in progress; those that wait get no
/// response. Threads: `Post` from any.
class PasswordWorker final
{
public:
    /// Sends the response. What it throws becomes a 500.
    using Task = std::function<void(Http::IHttpExchange&)>;

    /// Beside the one in progress.
    static constexpr std::size_t maximumWaiting = 128;

    /// The task that has waited longest comes every so many times: the less often, the more of the guesses that come
    /// at once the newest ones overtake.
    static constexpr uint64 oldestInterval = 8;

    /// The context resumes the exchanges; borrowed.
    explicit PasswordWorker(boost::asio::io_context& context);
    PasswordWorker(const PasswordWorker&) = delete;
    PasswordWorker& operator=(const PasswordWorker&) = delete;
    ~PasswordWorker();

    /// Of the tasks that wait, those with the smallest rank come first, and among equals the newest: when many
    /// addresses begin to guess at once, who comes then does not wait for all of them. At intervals the one that has
    /// waited longest comes instead, so that none waits forever. When too many wait, the oldest of those
    /// with the greatest rank gets a 503.
    [[nodiscard]] Http::Handling Post(const std::shared_ptr<Http::IHttpExchange>& exchange, std::size_t rank,
                                      Task task);

private:
    struct Waiting
    {
        std::shared_ptr<Http::IHttpExchange> exchange;
        std::size_t rank = 0;
        Task task;
        /// Counts the tasks.
        uint64 number = 0;
    };

    void Run();
    [[nodiscard]] Waiting TakeNext() OXA_REQUIRES(mutex);
    void Execute(Waiting waiting) noexcept;
    void Resume(std::shared_ptr<Http::IHttpExchange> exchange);

    boost::asio::io_context& context;
    System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    bool isEnding OXA_GUARDED_BY(mutex) = false;
    /// By rank, among equals the newest first.
    std::vector<Waiting> queue OXA_GUARDED_BY(mutex);
    uint64 lastNumber OXA_GUARDED_BY(mutex) = 0;
    uint64 takenTasks OXA_GUARDED_BY(mutex) = 0;
    std::thread thread OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Sessions
