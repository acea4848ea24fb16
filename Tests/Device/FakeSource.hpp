#pragma once

#include "Device/Items/IItemSource.hpp"

#include <stdexcept>
#include <utility>

namespace Oxa::Tests::Device
{

/// A sensor that the test gives a value to, takes it from, and breaks. Outlives the items.
class FakeSensor final
{
public:
    using ItemReading = Oxa::Device::Linux::Items::ItemReading;

    template <class T>
    void Give(const T& value)
    {
        reading = ItemReading(Oxa::Device::Linux::Items::ItemValue(value), {});
    }

    void Fail(BasicString cause)
    {
        reading = ItemReading::Missing(std::move(cause));
    }

    [[nodiscard]] std::unique_ptr<Oxa::Device::Linux::Items::IItemSource> MakeSource()
    {
        return std::make_unique<Source>(*this);
    }

    /// Of the source's reads.
    std::size_t readCount = 0;
    bool throws = false;

private:
    class Source final : public Oxa::Device::Linux::Items::IItemSource
    {
    public:
        explicit Source(FakeSensor& sensor) : sensor(sensor) {}

        [[nodiscard]] ItemReading Read(const Oxa::Device::Linux::Items::ReadPass&) override
        {
            ++sensor.readCount;
            return !sensor.throws ? sensor.reading : throw std::runtime_error("the sensor is broken");
        }

        [[nodiscard]] BasicString Describe() const override
        {
            return "sensor";
        }

    private:
        FakeSensor& sensor;
    };

    ItemReading reading = ItemReading::Missing("not plugged in");
};

} // namespace Oxa::Tests::Device
