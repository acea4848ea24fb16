#include "Host/Http/ConnectionGroup.hpp"

#include <boost/asio/post.hpp>

#include <utility>

// The lock guards the table. A connection takes it only to report its stage, and what is called under it takes no lock.

namespace Oxa::Host::Http
{

using System::Commons::MutexLock;

namespace
{

constexpr std::chrono::seconds sweepPeriod{1};

} // namespace

ConnectionGroup::ConnectionGroup(boost::asio::io_context& context, HttpService newService)
    : context(context), service(std::move(newService)), sweepTimer(context), table(service.configuration)
{
}

bool ConnectionGroup::TryAdd(Member& member, const ClientNetwork& network)
{
    const MutexLock lock(mutex);
    if (!isSweeping)
    {
        SweepLater();
    }
    const auto admission = table.Add(member, network, Clock::now());
    if (admission.displaced != nullptr)
    {
        static_cast<Member*>(admission.displaced)->End();
    }
    return admission.isAdmitted;
}

void ConnectionGroup::Remove(Member& member)
{
    const MutexLock lock(mutex);
    table.Remove(member);
    if (table.IsEmpty() && drained)
    {
        boost::asio::post(context, std::exchange(drained, nullptr));
    }
}

void ConnectionGroup::Move(Member& member, ConnectionStage stage, bool hasSession, std::size_t unsentBytes)
{
    const MutexLock lock(mutex);
    table.SetSession(member, hasSession);
    if (auto* const displaced = table.Move(member, stage, Clock::now(), unsentBytes))
    {
        static_cast<Member*>(displaced)->End();
    }
    while (auto* const entry = unsentBytes > 0 ? table.TakeExcess(member) : nullptr)
    {
        static_cast<Member*>(entry)->End();
    }
}

void ConnectionGroup::Stop(std::function<void()> whenDrained)
{
    const MutexLock lock(mutex);
    isStopping = true;
    End(table.FindUnused());
    if (table.IsEmpty())
    {
        boost::asio::post(context, std::move(whenDrained));
        return;
    }
    drained = std::move(whenDrained);
}

void ConnectionGroup::EndAll()
{
    const MutexLock lock(mutex);
    End(table.GetAll());
}

void ConnectionGroup::End(const std::vector<ConnectionTable::Entry*>& entries)
{
    for (auto* const entry : entries)
    {
        static_cast<Member*>(entry)->End();
    }
}

void ConnectionGroup::SweepLater()
{
    isSweeping = true;
    sweepTimer.expires_after(sweepPeriod);
    sweepTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                Sweep();
            }
        });
}

void ConnectionGroup::Sweep()
{
    const MutexLock lock(mutex);
    End(table.TakeLate(Clock::now()));
    isSweeping = false;
    if (!table.IsEmpty())
    {
        SweepLater();
    }
}

} // namespace Oxa::Host::Http
