#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Processes/DeviceClient.hpp"
#include "Processes/DeviceProcess.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <tuple>

namespace Oxa::Tests::Processes
{

using namespace std::chrono_literals;
using System::Rsc::RscEndpointConfiguration;

namespace
{

const BasicString value = "Test.1!";

RscEndpointConfiguration WithTimeout(RscEndpointConfiguration endpoint, std::chrono::milliseconds timeout)
{
    endpoint.readTimeout = timeout;
    return endpoint;
}

TEST(Serving, RefusesUnknownUsersAndCommandsOfReaders)
{
    DeviceProcess toOthers({.users = "<User name=\"" + std::to_string(getuid() + 1) + "\" commands=\"true\"/>"});
    toOthers.Start();
    EXPECT_FALSE(DeviceClient(toOthers.GetEndpoint()).TryFind());
    DeviceProcess toReaders({.users = "<User name=\"" + std::to_string(getuid()) + "\"/>"});
    toReaders.Start();
    DeviceClient reader(toReaders.GetEndpoint());
    ASSERT_TRUE(reader.TryFind());
    EXPECT_EQ(reader.Restart(), "Refused");
    EXPECT_EQ(reader.Read("Test.1"), value);
}

TEST(Serving, ReadsAFolderInPlaceOfTheMachineAndEndsBySigterm)
{
    DeviceProcess device({.description = OXA_DESCRIPTIONS "/sbc.xml", .root = OXA_MACHINES "/sbc"});
    device.Start();
    DeviceClient client(WithTimeout(device.GetEndpoint(), 10s));
    ASSERT_TRUE(client.TryFind());
    EXPECT_EQ(client.Read("General.ArticleNumber"), "example,sbc5");
    device.GetProcess().SendSignal(SIGTERM);
    EXPECT_EQ(device.GetProcess().Wait(), 0);
}

/// Every item, by pages of `count`, as `read` gets them.
template <class Read>
auto ReadAllPages(const Read& read, std::size_t count)
{
    auto all = read("", count);
    for (bool isCut = all.isCut; isCut;)
    {
        const auto page = read(all.items.back().key, count);
        all.items.insert(all.items.end(), page.items.begin(), page.items.end());
        isCut = page.isCut;
    }
    return all.items;
}

TEST(Serving, CarriesEveryItemWithItsStateAndItsHistory)
{
    using namespace Oxa::Device::Interface::Services;
    DeviceProcess device({.description = OXA_DESCRIPTIONS "/controller.xml"});
    device.Start();
    DeviceClient client(WithTimeout(device.GetEndpoint(), 10s));
    ASSERT_TRUE(client.TryFind());
    IDeviceItemService& service = client.GetItemService();
    const auto list = [&service](const BasicString& after, std::size_t count)
    {
        return service.ListItems("", after, count);
    };
    const auto read = [&service](const BasicString& after, std::size_t count)
    {
        return service.ReadItems("", after, count);
    };
    const auto described = ReadAllPages(list, 1000);
    EXPECT_EQ(described.size(), 57U);
    EXPECT_EQ(ReadAllPages(list, 10), described);
    const auto states = ReadAllPages(read, 7);
    ASSERT_EQ(states.size(), described.size());
    for (std::size_t index = 0; index < states.size(); ++index)
    {
        EXPECT_EQ(states[index].key, described[index].key);
        EXPECT_EQ(states[index].cause.empty(), states[index].quality == ItemQuality::Good) << states[index].key;
    }
    const auto volts = service.ListItems("Board.Supply.Volts", "", 1).items.at(0);
    EXPECT_EQ(volts, (DescribedItem{"Board.Supply.Volts", System::Rsc::RscType::Real64, "V", "Voltage of the supply",
                                    ItemOrigin::Simulated, true}));
    const auto absent = service.ReadItems("Slots.3", "", 1).items.at(0);
    EXPECT_EQ(absent.origin, ItemOrigin::Absent);
    EXPECT_EQ(absent.quality, ItemQuality::Missing);
    EXPECT_EQ(absent.cause, "this machine has no module in slot 3");

    const int64 now =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    ItemHistory history;
    EXPECT_TRUE(Eventually(
        [&]
        {
            history = service.ReadHistory("Board.Supply.Volts", 0, now + 60'000, 1000);
            return !history.points.empty() && history.points.back().minimum > 0;
        },
        5s));
    EXPECT_NEAR(history.points.back().mean, 24, 1);
    EXPECT_TRUE(std::isnan(history.points.front().mean));
    EXPECT_GE(history.points.size(), 959U);
    EXPECT_EQ(history.step, 90'000);
    for (const char* const key : {"Board.Supply.Redundant", "No.Such.Item"})
    {
        EXPECT_THROW((void)service.ReadHistory(key, 0, now, 1), System::Commons::ArgumentException) << key;
    }
    EXPECT_THROW((void)service.ReadHistory("Board.Supply.Volts", -1, -1, 1), System::Commons::ArgumentException);
    EXPECT_THROW((void)service.ReadHistory("Board.Supply.Volts", 0, now, std::size_t(1) << 40U),
                 System::Commons::ArgumentException);
}

TEST(Serving, MakesNoPageThatIsTooLongForAMessage)
{
    using namespace Oxa::Device::Interface::Services;
    const Support::TemporaryFolder folder;
    constexpr std::size_t count = IDeviceItemService::maximumPageItems + 2;
    const BasicString text(IDeviceItemService::maximumTextBytes, 'x');
    BasicString description = "<DeviceDescriptionDocument>";
    for (std::size_t number = 0; number < count; ++number)
    {
        BasicString key = std::to_string(1000 + number);
        key.append(text, key.size());
        description += "<Item key='" + key + "' description='" + text + "' unit='" +
                       BasicString(IDeviceItemService::maximumUnitBytes, 'u') + "'><text value='" + text + "'/></Item>";
    }
    DeviceProcess device({.description = folder.Write("long.xml", description + "</DeviceDescriptionDocument>")});
    device.Start();
    DeviceClient client(WithTimeout(device.GetEndpoint(), 10s));
    ASSERT_TRUE(client.TryFind());
    IDeviceItemService& service = client.GetItemService();
    EXPECT_EQ(service.ListItems("1", "", count).items.size(), IDeviceItemService::maximumPageItems);
    const auto page = service.ReadItems("1", "", count);
    ASSERT_EQ(page.items.size(), IDeviceItemService::maximumPageItems);
    EXPECT_TRUE(page.isCut);
    EXPECT_EQ(page.items.back().value.GetText(), text);
    EXPECT_EQ(service.ReadItems("1", page.items.back().key, count).items.size(), 2U);
}

struct Ended
{
    int status;
    BasicString output;
};

Ended RunDevice(std::vector<BasicString> arguments)
{
    arguments.insert(arguments.begin(), OXA_DEVICE);
    Support::ChildProcess process(arguments);
    const int status = process.Wait();
    return {status, process.GetOutput()};
}

TEST(DescribingADevice, ReportsEveryMistakeAndReadsTheItemsOfItsOwnDescription)
{
    const Support::TemporaryFolder folder;
    const BasicString wrong = folder.Write("wrong.xml", "<DeviceDescriptionDocument>\n<Item/>\n<Itme key=\"a\"/>\n"
                                                        "<Item key=\"b\"><text/></Item></DeviceDescriptionDocument>");
    const Ended checked = RunDevice({"--check", wrong});
    EXPECT_EQ(checked.status, 1);
    for (const char* const line : {":2: ", ":3: ", ":4: "})
    {
        EXPECT_THAT(checked.output, testing::HasSubstr(wrong + line));
    }
    const BasicString path = folder.Write("own.xml", RunDevice({"--describe"}).output);
    EXPECT_EQ(RunDevice({"--check", path}).status, 0);
    const Ended read = RunDevice({"--description", path, "--read", "Status.System.UpTime.Seconds"});
    EXPECT_EQ(read.status, 0);
    EXPECT_THAT(read.output, testing::EndsWith(" (uint64)\n"));
    EXPECT_EQ(RunDevice({"--description", path, "--read", "No.Such.Item"}).status, 1);
    const BasicString text =
        folder.Write("text.xml", "<DeviceDescriptionDocument><Item key=\"a\"><text value=\"x\"/></Item>"
                                 "<Item key=\"b\"><file path=\"/b\"/></Item><Item key=\"c\" type=\"int8\" unit=\"V\" "
                                 "description=\"Supply\" history=\"true\"><simulated value=\"5\"/></Item>"
                                 "</DeviceDescriptionDocument>");
    const Ended shown = RunDevice({"--check", text, "--root", folder.GetPath("")});
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.output, testing::HasSubstr("\na = x (string)\nb has no value: cannot read '"));
    EXPECT_THAT(shown.output, testing::HasSubstr("\nc = 5 V (int8, simulated): Supply (history)\n"));
    const Ended some = RunDevice({"--description", text, "--root", folder.GetPath(""), "--read", "c", "b"});
    EXPECT_EQ(some.status, 1);
    EXPECT_THAT(some.output, testing::StartsWith("c = 5 V (int8, simulated)\nb has no value: cannot read '"));
    for (const auto& [library, description, status] :
         {std::tuple(BasicString(OXA_DEVICE_LIBRARY), text, 0), {OXA_DEVICE_LIBRARY, wrong, 1}, {"/no.so", text, 1}})
    {
        const BasicString configuration = folder.Write(
            "check.conf", "<DeviceServerDocument><Components><Component name=\"Linux\" library=\"" + library +
                              "\" settings=\"" + description + "\"/></Components></DeviceServerDocument>");
        EXPECT_EQ(RunDevice({"--config", configuration, "--check"}).status, status) << library << ' ' << description;
    }
    EXPECT_EQ(RunDevice({"--config", wrong, "--check"}).status, 1);
    const BasicString noLog = folder.Write(
        "log.conf", R"(<DeviceServerDocument><Log target="file" file="/proc/no"/></DeviceServerDocument>)");
    const std::pair<std::vector<BasicString>, int> refused[] = {
        {{"--read"}, 64},
        {{"--check", path, "--simulate"}, 64},
        {{"--check", "--root", "/"}, 64},
        {{"--check", path, "--description", path}, 64},
        {{"--describe", "--root", ""}, 64},
        {{"--variable", "=value"}, 64},
        {{"--config", wrong}, 78},
        {{"--config", noLog}, 78},
    };
    for (const auto& [arguments, status] : refused)
    {
        EXPECT_EQ(RunDevice(arguments).status, status) << testing::PrintToString(arguments);
    }
    EXPECT_EQ(Support::ChildProcess({"/bin/sh", "-c", "\"$@\" >/dev/full", "sh", OXA_DEVICE, "--check", path}).Wait(),
              1);
}

} // namespace

} // namespace Oxa::Tests::Processes
