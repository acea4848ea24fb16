// An endpoint is in one of these states, which only the thread of this class changes:
//   idle          no service of it has been asked for yet
//   connected     the descriptor is watched for a hang-up; callers use the connection
//   waiting       until `nextAttempt`
//   connecting    an `Attempt` shakes hands, until its answer, its end or its deadline
// Nothing here blocks but `poll`, so an endpoint that is silent delays no other one.

#include "Oxa/System/Rsc/Internal/Client/EndpointWatch.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"
#include "Oxa/System/Rsc/Internal/Client/ClientConnection.hpp"
#include "Oxa/System/Rsc/Internal/Client/Endpoint.hpp"
#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <limits>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::FileDescriptor;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Text::Format;
using System::Commons::Threading::WakeEvent;
using Clock = std::chrono::steady_clock;

namespace
{

constexpr std::chrono::milliseconds shortestPause{50};
constexpr std::chrono::milliseconds longestPause{500};

constexpr const char* hungUp = "the other process turned the connection away, or ended it";

/// What a process says of one provider.
struct OfferedRun
{
    BasicString bootId;
    BasicString buildId;
    std::set<BasicString> interfaceNames;
};

bool TryReadInterfaces(sd_bus_message& answer, std::set<BasicString>& names)
{
    if (sd_bus_message_enter_container(&answer, SD_BUS_TYPE_ARRAY, "s") < 0)
    {
        return false;
    }
    const char* name = nullptr;
    while (sd_bus_message_read_basic(&answer, SD_BUS_TYPE_STRING, &name) > 0)
    {
        names.emplace(name);
    }
    return sd_bus_message_exit_container(&answer) >= 0;
}

/// None when the provider is not among those of the process.
std::optional<OfferedRun> TryReadRun(sd_bus_message& answer, const BasicString& providerName)
{
    if (sd_bus_message_enter_container(&answer, SD_BUS_TYPE_ARRAY, runSignature) < 0)
    {
        return std::nullopt;
    }
    while (sd_bus_message_enter_container(&answer, SD_BUS_TYPE_STRUCT, runMembersSignature) > 0)
    {
        const char* name = nullptr;
        const char* bootId = nullptr;
        const char* buildId = nullptr;
        OfferedRun run;
        if (sd_bus_message_read(&answer, "sss", &name, &bootId, &buildId) < 0 ||
            !TryReadInterfaces(answer, run.interfaceNames) || sd_bus_message_exit_container(&answer) < 0)
        {
            return std::nullopt;
        }
        if (name == providerName)
        {
            run.bootId = bootId;
            run.buildId = buildId;
            return run;
        }
    }
    return std::nullopt;
}

/// Throws std::system_error.
FileDescriptor Connect(const BasicString& path)
{
    const auto address = TryMakeSocketAddress(path);
    FileDescriptor connected(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // A connection to a Unix socket is made at once or, with EAGAIN when too many wait there, not at all.
    if (!address || !connected.IsOpen() || connect(connected.Get(), AsGeneralAddress(*address), sizeof *address) != 0)
    {
        throw std::system_error(address ? errno : ENAMETOOLONG, std::generic_category());
    }
    return connected;
}

/// Connects to a process, authenticates, and asks it for its runs. Only the watch's thread has it.
class Attempt final
{
public:
    /// Throws std::system_error when there can be no connection.
    explicit Attempt(const RscEndpointConfiguration& configuration)
        : providerName(configuration.providerName),
          timeout(configuration.readTimeout),
          deadline(Clock::now() + configuration.readTimeout),
          bus(MakeBus())
    {
        FileDescriptor connected = Connect(configuration.socketPath);
        Require(sd_bus_set_fd(bus.get(), connected.Get(), connected.Get()));
        static_cast<void>(connected.Release());
        Require(sd_bus_start(bus.get()));
        sd_bus_slot* made = nullptr;
        Require(sd_bus_call_method_async(bus.get(), &made, nullptr, peerPath, peerInterface, getRunsName, &OnRuns, this,
                                         ""));
        slot.reset(made);
    }

    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    ~Attempt() = default;

    /// True when it is over.
    bool Process()
    {
        int result = 1;
        while (!isAnswered && failure.empty() && result > 0)
        {
            result = sd_bus_process(bus.get(), nullptr);
        }
        if (isAnswered || !failure.empty())
        {
            return true;
        }
        if (result < 0 || sd_bus_is_open(bus.get()) <= 0)
        {
            failure = hungUp;
        }
        else if (Clock::now() >= deadline)
        {
            failure = Format("no answer within {0} ms", timeout.count());
        }
        return !failure.empty();
    }

    [[nodiscard]] pollfd GetPoll() const noexcept
    {
        const int events = sd_bus_get_events(bus.get());
        return {sd_bus_get_fd(bus.get()), static_cast<short>(events < 0 ? POLLIN : events), 0};
    }

    /// The connection is of no use without a run.
    [[nodiscard]] BusHandle TakeBus()
    {
        slot.reset();
        return std::move(bus);
    }

    const BasicString& providerName;
    const std::chrono::milliseconds timeout;
    const Clock::time_point deadline;
    std::optional<OfferedRun> run;
    /// Empty as long as nothing has gone wrong.
    BasicString failure;

private:
    static void Require(int result)
    {
        if (result < 0)
        {
            throw std::system_error(-result, std::generic_category());
        }
    }

    static int OnRuns(sd_bus_message* answer, void* attempt, sd_bus_error* /*error*/) noexcept
    {
        auto& self = *static_cast<Attempt*>(attempt);
        self.isAnswered = true;
        try
        {
            self.TakeAnswer(*answer);
            return 1;
        }
        catch (...)
        {
            return -ENOMEM;
        }
    }

    void TakeAnswer(sd_bus_message& answer)
    {
        if (const sd_bus_error* const error = sd_bus_message_get_error(&answer))
        {
            const bool isEnd = sd_bus_error_has_name(error, SD_BUS_ERROR_NO_REPLY) > 0;
            failure = isEnd ? hungUp
                            : Format("the other process does not tell what it provides: {0}",
                                     System::Commons::Text::EscapeControlCharacters(error->name));
            return;
        }
        run = TryReadRun(answer, providerName);
        failure = run ? "" : "the other process does not provide them";
    }

    BusHandle bus;
    SlotHandle slot;
    bool isAnswered = false;
};

} // namespace

/// One endpoint and the state that it is in.
class EndpointWatch::Watched final
{
public:
    Watched(EndpointWatch& watch, const RscEndpointConfiguration& configuration)
        : endpoint(std::make_shared<Endpoint>(configuration, watch.wake, watch.runs)), watch(watch), runs(watch.runs)
    {
    }

    /// The descriptor is -1 when there is nothing to wait for.
    [[nodiscard]] pollfd GetPoll()
    {
        if (attempt)
        {
            return attempt->GetPoll();
        }
        return {connection ? connection->GetDescriptor() : -1, POLLRDHUP, 0};
    }

    [[nodiscard]] std::optional<Clock::time_point> GetDeadline() const
    {
        if (attempt)
        {
            return attempt->deadline;
        }
        return connection || !endpoint->IsWanted() ? std::nullopt : std::optional(nextAttempt);
    }

    /// Does what can be done without waiting. `isReady`: the descriptor is.
    void Process(bool isReady)
    {
        if (connection && isReady)
        {
            connection->Drain();
            Lose();
        }
        if (!connection && !attempt && endpoint->IsWanted() && Clock::now() >= nextAttempt)
        {
            Begin();
        }
        if (attempt && attempt->Process())
        {
            End();
        }
    }

    const std::shared_ptr<Endpoint> endpoint;

private:
    [[nodiscard]] const BasicString& GetName() const noexcept
    {
        return endpoint->GetConfiguration().providerName;
    }

    void Lose()
    {
        const BasicString cause = connection->GetLoss();
        endpoint->SetDisconnected(cause);
        connection.reset();
        loggedCause = cause;
        watch.Log(LogLevel::Warning, "the services of '{0}' are lost: {1}", GetName(), cause);
        runs.Report(GetName());
        // A process that ends each connection soon must not be asked again and again.
        pause = Clock::now() - connectedSince < longestPause ? pause : std::chrono::milliseconds(0);
        Pause();
    }

    void Begin()
    {
        try
        {
            attempt.emplace(endpoint->GetConfiguration());
        }
        catch (const std::system_error& error)
        {
            const bool isEnded = error.code().value() == EPIPE || error.code().value() == ECONNRESET;
            Fail(isEnded ? hungUp : "there is no connection: " + error.code().message());
        }
    }

    void End()
    {
        if (!attempt->failure.empty())
        {
            const BasicString failure = attempt->failure;
            attempt.reset();
            Fail(failure);
            return;
        }
        const OfferedRun run = std::move(*attempt->run);
        connection = std::make_shared<ClientConnection>(attempt->TakeBus(),
                                                        [&allRuns = runs, name = GetName()] { allRuns.End(name); });
        attempt.reset();
        endpoint->SetConnection(connection, run.bootId, run.buildId, run.interfaceNames);
        connectedSince = Clock::now();
        if (!loggedCause.empty())
        {
            watch.Log(LogLevel::Information, "the services of '{0}' are there again", GetName());
            loggedCause.clear();
        }
        runs.Report(GetName());
    }

    void Fail(const BasicString& cause)
    {
        endpoint->SetDisconnected(cause);
        if (loggedCause != cause)
        {
            loggedCause = cause;
            watch.Log(LogLevel::Warning, "the services of '{0}' at '{1}' are not available: {2}", GetName(),
                      endpoint->GetConfiguration().socketPath, cause);
        }
        Pause();
    }

    void Pause()
    {
        nextAttempt = Clock::now() + pause;
        pause = std::clamp(2 * pause, shortestPause, longestPause);
    }

    EndpointWatch& watch;
    ProviderRuns& runs;
    /// The endpoint's. Kept here as well, because the descriptor must stay open while it is watched.
    std::shared_ptr<ClientConnection> connection;
    std::optional<Attempt> attempt;
    Clock::time_point connectedSince;
    Clock::time_point nextAttempt;
    std::chrono::milliseconds pause = shortestPause;
    /// Why the services are away, as it was logged.
    BasicString loggedCause;
};

EndpointWatch::EndpointWatch(const std::vector<RscEndpointConfiguration>& configurations, ProviderRuns& runs)
    : runs(runs), wake(std::make_shared<WakeEvent>())
{
    for (const auto& configuration : configurations)
    {
        if (TryFind(configuration.providerName))
        {
            throw System::Commons::ArgumentException::Create("configurations", configuration.providerName,
                                                             "A provider has one endpoint");
        }
        watched.push_back(std::make_unique<Watched>(*this, configuration));
    }
    thread = std::thread([this] { Run(); });
}

EndpointWatch::~EndpointWatch()
{
    isStopping = true;
    wake->Set();
    thread.join();
    for (const auto& each : watched)
    {
        const bool wasConnected = each->endpoint->TryGetConnection() != nullptr;
        each->endpoint->Close();
        if (wasConnected)
        {
            runs.Report(each->endpoint->GetConfiguration().providerName);
        }
    }
}

std::shared_ptr<Endpoint> EndpointWatch::TryFind(const BasicString& providerName) const
{
    const auto found = std::find_if(watched.begin(), watched.end(),
                                    [&providerName](const auto& each)
                                    { return each->endpoint->GetConfiguration().providerName == providerName; });
    return found == watched.end() ? nullptr : (*found)->endpoint;
}

void EndpointWatch::Run() noexcept
{
    while (!isStopping)
    {
        try
        {
            RunOnce();
        }
        catch (const std::exception& exception)
        {
            Log(LogLevel::Error, "cannot watch the services of other processes: {0}", exception.what());
            poll(nullptr, 0, static_cast<int>(longestPause.count()));
        }
    }
}

void EndpointWatch::RunOnce()
{
    descriptors.assign(1, {wake->GetDescriptor(), POLLIN, 0});
    std::optional<Clock::time_point> next;
    for (const auto& each : watched)
    {
        descriptors.push_back(each->GetPoll());
        const auto deadline = each->GetDeadline();
        next = deadline && (!next || *deadline < *next) ? deadline : next;
    }
    const int timeout = next ? GetPollTimeout(*next, std::numeric_limits<int>::max()) : -1;
    if (poll(descriptors.data(), descriptors.size(), timeout) < 0)
    {
        return;
    }
    wake->Clear();
    for (std::size_t index = 0; index < watched.size(); ++index)
    {
        watched[index]->Process(descriptors[index + 1].revents != 0);
    }
}

} // namespace Oxa::System::Rsc::Internal
