#include "Device/Services/ItemService.hpp"

#include "Device/ItemValueText.hpp"
#include "Device/MultiReadClient.hpp"
#include "Device/Services/MultiItemRead.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <gtest/gtest.h>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using Oxa::System::Commons::ArgumentException;

namespace
{

std::shared_ptr<const Items::ItemTable> MakeItems()
{
    auto items = std::make_shared<Items::ItemTable>();
    items->Add("A", std::make_unique<Sources::ConstantSource>(Items::ItemValue("a")));
    items->Add("B", std::make_unique<Sources::ConstantSource>(Items::ItemValue(uint8(7))));
    return items;
}

} // namespace

TEST(ReadingManyItems, GivesOneValuePerKeyInTheirOrder)
{
    Services::DeviceStatusService service(MakeItems());
    MultiReadClient client({"B", "Unknown", "A", "B", ""});
    const auto& values = client.Read(service);
    ASSERT_EQ(values.size(), 5U);
    const char* const expected[] = {"Uint8 7", "NotSet", "String a", "Uint8 7", "NotSet"};
    for (std::size_t index = 0; index < values.size(); ++index)
    {
        EXPECT_EQ(ToTypedText(values[index]), expected[index]) << index;
    }
}

TEST(ReadingManyItems, DoesNotBelieveTheAnnouncedCount)
{
    Services::DeviceStatusService service(MakeItems());
    for (const std::size_t announced : {0, 1, 4096})
    {
        MultiReadClient client({"A", "B"});
        client.announcedCount = announced;
        EXPECT_EQ(client.Read(service).size(), 2U) << announced;
    }
}

TEST(ReadingManyItems, RefusesMoreThanItsBound)
{
    Services::DeviceStatusService service(MakeItems());
    MultiReadClient most(std::vector<BasicString>(Services::maximumItemsPerRead, "A"));
    EXPECT_EQ(most.Read(service).size(), Services::maximumItemsPerRead);

    MultiReadClient tooMany(std::vector<BasicString>(Services::maximumItemsPerRead + 1, "A"));
    EXPECT_THROW(tooMany.Read(service), ArgumentException);
    tooMany.announcedCount = 1;
    EXPECT_THROW(tooMany.Read(service), ArgumentException);

    MultiReadClient liar({});
    liar.announcedCount = static_cast<std::size_t>(-1);
    EXPECT_THROW(liar.Read(service), ArgumentException);
}

} // namespace Oxa::Tests::Device
