// Has functions of its own in place of the C library's: all files below one folder lie on a file system whose calls
// hang until the test lets them go, and those below another one are sysfs, whose reads take as long as the test says.

#include "Device/Description/DeviceDescription.hpp"
#include "Device/FakeClock.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Services/DeviceItemService.hpp"
#include "Device/Sources/SensorSource.hpp"
#include "Support/Eventually.hpp"
#include "Support/LogRecorder.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;

namespace
{

std::mutex mutex;
std::condition_variable released;
BasicString hangingFolder;
bool isHanging = false;
BasicString driverFolder;
/// Reads a file of a driver, or returns an errno.
std::function<int()> readDriver;

bool IsIn(const BasicString& folder, std::string_view path)
{
    const std::lock_guard lock(mutex);
    return !folder.empty() && path.starts_with(folder);
}

bool IsIn(const BasicString& folder, int descriptor)
{
    std::array<char, 4096> target;
    const ssize_t size =
        readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), target.data(), target.size());
    return size > 0 && IsIn(folder, std::string_view(target.data(), static_cast<std::size_t>(size)));
}

void Hang()
{
    std::unique_lock lock(mutex);
    released.wait(lock, [] { return !isHanging; });
}

std::ptrdiff_t CountThreads()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

template <class Function>
Function* FindReal(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset)
{
    static auto* const real =
        FindReal<ssize_t(int, void*, size_t, off_t)>(sizeof(off_t) > sizeof(long) ? "pread64" : "pread");
    if (IsIn(hangingFolder, descriptor))
    {
        Hang();
    }
    if (const int error = IsIn(driverFolder, descriptor) ? readDriver() : 0)
    {
        errno = error;
        return -1;
    }
    return real(descriptor, buffer, size, offset);
}

extern "C" int statfs(const char* path, struct statfs* status)
{
    static auto* const real = FindReal<int(const char*, struct statfs*)>("statfs64");
    const int result = real(path, status);
    if (IsIn(hangingFolder, std::string_view(path)))
    {
        Hang();
        status->f_type = FUSE_SUPER_MAGIC;
    }
    return result;
}

extern "C" int fstatfs(int descriptor, struct statfs* status)
{
    static auto* const real = FindReal<int(int, struct statfs*)>("fstatfs64");
    const int result = real(descriptor, status);
    if (IsIn(hangingFolder, descriptor))
    {
        status->f_type = FUSE_SUPER_MAGIC;
    }
    if (IsIn(driverFolder, descriptor))
    {
        status->f_type = SYSFS_MAGIC;
    }
    return result;
}

namespace
{

constexpr const char* description = R"(<DeviceDescriptionDocument>
<Item key="Number"><file path="/mnt/number" type="uint8"/></Item>
<Item key="Same"><file path="/mnt/number" type="uint16"/></Item>
<Item key="Other"><file path="/mnt/other"/></Item>
<Item key="Fallback"><first><file path="/mnt/fallback"/><text value="else"/></first></Item>
<Item key="Chosen"><first choice="start"><file path="/mnt/chosen"/><text value="else"/></first></Item>
<Item key="Disk" type="bool"><partition mount="/mnt"/></Item>
<Item key="Local"><file path="/etc/hostname"/></Item>
</DeviceDescriptionDocument>)";

class AMachineWithAHangingMount : public testing::Test
{
protected:
    AMachineWithAHangingMount()
    {
        machine.Write("/mnt/number", "7");
        machine.Write("/mnt/other", "other");
        machine.Write("/mnt/fallback", "fallback");
        machine.Write("/mnt/chosen", "chosen");
        machine.Write("/etc/hostname", "box");
        const std::lock_guard lock(mutex);
        hangingFolder = machine.GetPath("/mnt");
    }

    ~AMachineWithAHangingMount() override
    {
        Release();
        EXPECT_TRUE(Support::Eventually([] { return CountThreads() == 1; }));
        const std::lock_guard lock(mutex);
        hangingFolder.clear();
    }

    void MakeItems()
    {
        Description::DescribedMachine described(machine.GetRoot());
        items = Description::DeviceDescription::Parse(description, "test").MakeItems(described);
    }

    static void BeginToHang()
    {
        const std::lock_guard lock(mutex);
        isHanging = true;
    }

    static void Release()
    {
        const std::lock_guard lock(mutex);
        isHanging = false;
        released.notify_all();
    }

    [[nodiscard]] BasicString Read(const char* key, const Items::ReadPass& pass = Items::ReadPass::Begin()) const
    {
        Items::ItemValue value;
        items->TryFind(key)->Read(pass, value);
        return ToTypedText(value);
    }

    /// In place of the console, whose log has a thread of its own.
    const Support::LogRecorder log;
    const FakeMachine machine;
    std::unique_ptr<Items::ItemTable> items;
};

} // namespace

TEST_F(AMachineWithAHangingMount, CostsOneThreadAFileAndTheValuesOfItsItemsUntilItAnswers)
{
    MakeItems();
    EXPECT_EQ(Read("Number"), "Uint8 7");
    EXPECT_EQ(Read("Chosen"), "String chosen");
    BeginToHang();

    const auto first = Items::ReadPass::Begin();
    for (const char* key : {"Number", "Same", "Other", "Disk"})
    {
        EXPECT_EQ(Read(key, first), "NotSet") << key;
    }
    EXPECT_EQ(Read("Fallback", first), "String else");
    EXPECT_EQ(Read("Local", first), "String box");
    EXPECT_EQ(first.GetWaitBudget().GetLeft(), Machine::WaitBudget::minimum);

    // Once they have lasted long enough, no read waits for them.
    const auto readsAtOnce = [this]
    {
        const auto pass = Items::ReadPass::Begin();
        for (const char* key : {"Number", "Same", "Other", "Disk", "Fallback", "Local"})
        {
            static_cast<void>(Read(key, pass));
        }
        return pass.GetWaitBudget().GetLeft() == Machine::WaitBudget::limit;
    };
    EXPECT_TRUE(Support::Eventually(readsAtOnce));
    for (int round = 0; round < 100; ++round)
    {
        EXPECT_TRUE(readsAtOnce()) << round;
    }
    EXPECT_TRUE(Support::Eventually([] { return CountThreads() == 1 + 4; })) << CountThreads();
    std::vector<BasicString> messages;
    for (const auto& entry : log.GetEntries())
    {
        messages.push_back(entry.message);
    }
    ASSERT_EQ(messages.size(), 4U);
    EXPECT_EQ(messages[0], "the item 'Number' has no value: a read of '" + machine.GetPath("/mnt/number") +
                               "' has lasted longer than a request waits, 1000 ms");
    EXPECT_EQ(messages[3], "the item 'Disk' has no value: a query of the file system at '" + machine.GetPath("/mnt") +
                               "' has lasted longer than a request waits, 1000 ms");

    Release();
    for (const auto& [key, value] :
         {std::pair("Number", "Uint8 7"), {"Other", "String other"}, {"Fallback", "String fallback"}})
    {
        EXPECT_TRUE(Support::Eventually([this, key, value] { return Read(key) == value; })) << key;
    }
}

TEST_F(AMachineWithAHangingMount, HasOldValuesUntilItAnswers)
{
    MakeItems();
    FakeClock clock;
    const std::shared_ptr<const Items::ItemTable> table = std::move(items);
    Services::DeviceItemService service(table, std::make_shared<Items::ItemHistories>(table), clock.Get());
    using Oxa::Device::Interface::Services::ItemOrigin;
    using Oxa::Device::Interface::Services::ItemQuality;
    const auto read = [&service](const char* key)
    {
        return service.ReadItems(key, "", 1).items.at(0);
    };
    EXPECT_EQ(read("Number").quality, ItemQuality::Good);
    EXPECT_EQ(read("Fallback").origin, ItemOrigin::Measured);
    BeginToHang();
    clock.Advance(std::chrono::seconds(5));

    const auto old = read("Number");
    EXPECT_EQ(old.quality, ItemQuality::Old);
    EXPECT_EQ(ToTypedText(old.value), "Uint8 7");
    EXPECT_EQ(old.age, std::chrono::seconds(5));
    EXPECT_EQ(old.cause,
              "a read of '" + machine.GetPath("/mnt/number") + "' has lasted longer than a request waits, 1000 ms");
    const auto fallback = read("Fallback");
    EXPECT_EQ(fallback.quality, ItemQuality::Good);
    EXPECT_EQ(fallback.origin, ItemOrigin::Fixed);
    EXPECT_EQ(read("Other").quality, ItemQuality::Missing) << "it was never read";
    EXPECT_EQ(read("Local").quality, ItemQuality::Good);

    Release();
    EXPECT_TRUE(Support::Eventually([&read] { return read("Number").quality == ItemQuality::Good; }));
}

TEST_F(AMachineWithAHangingMount, IsStartedAndEndedMeanwhile)
{
    BeginToHang();
    MakeItems();
    EXPECT_EQ(Read("Chosen"), "String else");
    EXPECT_EQ(Read("Number"), "NotSet");
    items.reset();
}

namespace
{

/// Two sensors of one driver.
class ADriverThatIsSlow : public testing::Test
{
protected:
    ADriverThatIsSlow()
    {
        machine.Write("/sys/class/hwmon/hwmon0/name", "lm75");
        machine.Write("/sys/class/hwmon/hwmon0/temp1_input", "41000");
        machine.Write("/sys/class/hwmon/hwmon0/temp2_input", "42000");
        const std::lock_guard lock(mutex);
        driverFolder = machine.GetPath("/sys/class/hwmon/hwmon0/temp");
        readDriver = [this]
        {
            Hang();
            ++readCount;
            isReadHere = std::this_thread::get_id() == thread;
            clock.Advance(duration);
            return error;
        };
    }

    ~ADriverThatIsSlow() override
    {
        {
            const std::lock_guard lock(mutex);
            isHanging = false;
            released.notify_all();
        }
        sensor.reset();
        EXPECT_TRUE(Support::Eventually([] { return CountThreads() == 1; }));
        EXPECT_EQ(readCount, expectedReadCount);
        const std::lock_guard lock(mutex);
        driverFolder.clear();
    }

    [[nodiscard]] BasicString Read(const Items::ReadPass& pass = Items::ReadPass::Begin())
    {
        const Items::ItemReading reading = sensor->Read(pass);
        return reading.HasValue() ? ToTypedText(reading.value) : reading.cause;
    }

    [[nodiscard]] std::unique_ptr<Sources::SensorSource> MakeSensor(const char* inputFile) const
    {
        auto address = Sources::MakeHwmonAddress(machine.GetRoot(), "lm75", 0);
        address.inputFile = inputFile;
        return std::make_unique<Sources::SensorSource>(address, clock.Get());
    }

    const FakeMachine machine;
    FakeClock clock;
    const std::thread::id thread = std::this_thread::get_id();
    std::chrono::milliseconds duration{};
    int error = 0;
    bool isReadHere = false;
    int readCount = 0;
    int expectedReadCount = 0;
    std::unique_ptr<Sources::SensorSource> sensor = MakeSensor("temp1_input");
};

} // namespace

TEST_F(ADriverThatIsSlow, IsCalledOnAnotherThreadForAMinuteAfterItsLastSlowRead)
{
    using namespace std::chrono_literals;

    const struct
    {
        std::chrono::milliseconds pause;
        std::chrono::milliseconds duration;
        int error;
        bool isReadHere;
        const char* expected;
    } steps[] = {
        {0s, 0ms, 0, true, "Real64 41"},          {0s, 19ms, 0, true, "Real64 41"},
        {0s, 0ms, EIO, true, "Input/output"},     {0s, 1000ms, EIO, true, "Input/output"},
        {2s, 1000ms, EIO, false, "Input/output"}, {0s, 20ms, 0, false, "Real64 41"},
        {59s, 0ms, 0, false, "Real64 41"},        {1s, 0ms, 0, true, "Real64 41"},
    };

    for (const auto& step : steps)
    {
        clock.Advance(step.pause);
        duration = step.duration;
        error = step.error;
        const BasicString text = Read();
        EXPECT_NE(text.find(step.expected), BasicString::npos) << text;
        EXPECT_EQ(readCount, ++expectedReadCount) << "a read that failed is not repeated in its pass";
        EXPECT_EQ(isReadHere, step.isReadHere) << expectedReadCount;
    }
}

TEST_F(ADriverThatIsSlow, CostsAPassNoMoreThanItsBudget)
{
    const auto other = MakeSensor("temp2_input");
    const auto pass = Items::ReadPass::Begin();
    duration = Machine::WaitBudget::limit;
    EXPECT_EQ(Read(pass), "Real64 41");
    EXPECT_TRUE(isReadHere);
    ASSERT_TRUE(pass.GetWaitBudget().IsSpent());
    EXPECT_TRUE(other->Read(pass).HasValue());
    ASSERT_FALSE(isReadHere) << "what is left of the budget bounds this read";

    {
        const std::lock_guard lock(mutex);
        isHanging = true;
    }
    const BasicString hanging = "a read of '" + machine.GetPath("/sys/class/hwmon/hwmon0/temp1_input") +
                                "' has lasted longer than a request waits, 1000 ms";
    EXPECT_EQ(Read(), hanging);
    const auto next = Items::ReadPass::Begin();
    EXPECT_EQ(Read(next), hanging);
    EXPECT_EQ(next.GetWaitBudget().GetLeft(), Machine::WaitBudget::limit);
    expectedReadCount = 3;
}

} // namespace Oxa::Tests::Device
