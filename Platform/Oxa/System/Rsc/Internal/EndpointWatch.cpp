#include "Oxa/System/Rsc/Internal/EndpointWatch.hpp"

#include "Oxa/System/Commons/Threading/WakeEvent.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/Internal/Endpoint.hpp"
#include "Oxa/System/Rsc/Internal/PollTimeout.hpp"
#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Threading::WakeEvent;

namespace
{

constexpr std::chrono::milliseconds probePeriod{500};
constexpr int hangUpPeriod = 10;
constexpr int forever = -1;

} // namespace

EndpointWatch::EndpointWatch(std::vector<std::shared_ptr<Endpoint>> endpoints, ProviderRuns& listeners)
    : endpoints(std::move(endpoints)), listeners(listeners), signal(std::make_shared<WakeEvent>())
{
    thread = std::thread([this] { Run(); });
    for (const auto& endpoint : this->endpoints)
    {
        endpoint->GetSignal().Connect(signal);
    }
    // An endpoint may have changed before it was connected to the signal.
    signal->Set();
}

EndpointWatch::~EndpointWatch()
{
    for (const auto& endpoint : endpoints)
    {
        endpoint->GetSignal().Disconnect(signal);
    }
    isStopping = true;
    signal->Set();
    thread.join();
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
            poll(nullptr, 0, static_cast<int>(probePeriod.count()));
        }
    }
}

void EndpointWatch::RunOnce()
{
    CollectConnections();
    WaitForChange();
    NoteHangUps();
    ProbeUnavailable();
}

void EndpointWatch::CollectConnections()
{
    connections.clear();
    waiting.assign(1, {signal->GetDescriptor(), POLLIN, 0});
    for (const auto& endpoint : endpoints)
    {
        connections.push_back(endpoint->TryGetConnection());
        const auto& connection = connections.back();
        // poll skips negative descriptors.
        waiting.push_back({connection ? connection->GetDescriptor() : -1, POLLRDHUP, 0});
    }
}

void EndpointWatch::WaitForChange()
{
    if (isHangUpPending)
    {
        poll(waiting.data(), 1, hangUpPeriod);
        poll(waiting.data(), waiting.size(), 0);
    }
    else
    {
        poll(waiting.data(), waiting.size(), GetTimeout());
    }
    signal->Clear();
}

void EndpointWatch::NoteHangUps()
{
    isHangUpPending = false;
    for (std::size_t index = 0; index < endpoints.size(); ++index)
    {
        if (connections[index] && waiting[index + 1].revents != 0)
        {
            endpoints[index]->NoteHangUp(connections[index]);
            isHangUpPending = isHangUpPending || !connections[index]->IsLost();
        }
    }
    connections.clear();
}

void EndpointWatch::ProbeUnavailable()
{
    if (Clock::now() < nextProbe)
    {
        return;
    }
    bool hasProbed = false;
    for (const auto& endpoint : endpoints)
    {
        if (isStopping || !endpoint->IsUnavailable())
        {
            continue;
        }
        hasProbed = true;
        if (endpoint->TryRecover())
        {
            listeners.Begin(endpoint->GetProviderName(), {}, {});
            listeners.Report(endpoint->GetProviderName());
        }
    }
    if (hasProbed)
    {
        nextProbe = Clock::now() + probePeriod;
    }
}

int EndpointWatch::GetTimeout() const
{
    const bool isAnyUnavailable =
        std::any_of(endpoints.begin(), endpoints.end(), [](const auto& endpoint) { return endpoint->IsUnavailable(); });
    if (isAnyUnavailable)
    {
        return GetPollTimeout(nextProbe, static_cast<int>(probePeriod.count()));
    }
    return forever;
}

} // namespace Oxa::System::Rsc::Internal
