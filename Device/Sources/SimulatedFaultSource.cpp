#include "Device/Sources/SimulatedFaultSource.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"

#include <fmt/format.h>

#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

using System::Rsc::RscCallContext;
using System::Rsc::RscType;

Items::ItemReading MakeWrongType(const Items::ItemReading& reading)
{
    const bool isText = reading.value.GetType() == RscType::String;
    Items::ItemReading wrong =
        isText ? Items::ItemReading::Of(0.0) : Items::ItemReading::OfText("simulated wrong type");
    wrong.isTypeKept = true;
    return wrong;
}

Items::ItemReading DropConnection()
{
    if (RscCallContext* const context = RscCallContext::TryGetCurrent())
    {
        context->DropConnection();
    }
    return Items::ItemReading::Missing("simulated fault: connection dropped");
}

BasicString DescribeFault(const SimulatedFaultSource::Fault& fault)
{
    using Kind = SimulatedFaultSource::Kind;
    switch (fault.kind)
    {
    case Kind::Delay:
        return fmt::format("delay of {} ms", fault.delay.count());
    case Kind::WrongType:
        return "wrong type";
    case Kind::NotSet:
        return "not set";
    case Kind::DroppedConnection:
        return "connection dropped";
    }
    return {};
}

} // namespace

SimulatedFaultSource::SimulatedFaultSource(std::unique_ptr<Items::IItemSource> source, const Fault& fault,
                                           std::shared_ptr<Machine::IWaiter> waiter)
    : source(std::move(source)), fault(fault), waiter(std::move(waiter))
{
    if (fault.every == 0)
    {
        throw System::Commons::ArgumentException::Create("every", fault.every, "Not above 0");
    }
}

SimulatedFaultSource::~SimulatedFaultSource() = default;

Items::ItemReading SimulatedFaultSource::Read(const Items::ReadPass& pass)
{
    if (!IsFaultyNow())
    {
        return source->Read(pass);
    }
    switch (fault.kind)
    {
    case Kind::Delay:
        (void)waiter->Wait(fault.delay);
        return source->Read(pass);
    case Kind::WrongType:
        return MakeWrongType(source->Read(pass));
    case Kind::NotSet:
        return Items::ItemReading::Missing("simulated fault: not set");
    case Kind::DroppedConnection:
        return DropConnection();
    }
    return Items::ItemReading::Missing("unknown fault");
}

BasicString SimulatedFaultSource::Describe() const
{
    return fmt::format("{}; fault at every {}. read: {}", source->Describe(), fault.every, DescribeFault(fault));
}

bool SimulatedFaultSource::IsSimulated() const noexcept
{
    return true;
}

bool SimulatedFaultSource::IsFaultyNow() noexcept
{
    return (readCount.fetch_add(1, std::memory_order_relaxed) + 1) % fault.every == 0;
}

} // namespace Oxa::Device::Linux::Sources
