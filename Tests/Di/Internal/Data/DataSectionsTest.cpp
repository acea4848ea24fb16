#include "Di/Internal/Data/DataSections.hpp"

#include "Di/Internal/Data/SectionSupport.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Modules::Wbm::Di::Internal::Data;
using Oxa::Tests::Di::WriteToJson;

class CountingSection final : public DataSection
{
public:
    explicit CountingSection(const BasicString& name, bool canUpdate = true) : DataSection(name), canUpdate(canUpdate)
    {
    }

    bool UpdateData() override
    {
        ++updateCount;
        return canUpdate;
    }

    void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                       System::Commons::Json::JsonSerializationContext& /*context*/) override
    {
        writer.WriteValue(GetName(), updateCount);
    }

    int updateCount = 0;

private:
    bool canUpdate;
};

TEST(ParsingSectionNames, KeepsEveryPieceButOneTrailingSeparator)
{
    const std::pair<BasicString, std::vector<BasicString>> cases[] = {
        {"GeneralData", {"GeneralData"}},
        {"GeneralData&DateTime", {"GeneralData", "DateTime"}},
        {"GeneralData&DateTime&", {"GeneralData", "DateTime"}},
        {"GeneralData&&", {"GeneralData", ""}},
        {"&GeneralData", {"", "GeneralData"}},
        {"A&&B", {"A", "", "B"}},
        {" GeneralData&health&health", {" GeneralData", "health", "health"}},
        {"&", {""}},
        {"", {""}},
    };
    for (const auto& [text, names] : cases)
    {
        EXPECT_EQ(DataSections::ParseSectionsNamesList(text), names) << "text: '" << text << "'";
    }
}

TEST(UpdatingSections, StopsAtTheFirstSectionThatFails)
{
    CountingSection first("First");
    CountingSection second("Second", false);
    CountingSection third("Third");
    std::vector<DataSection*> list = {&first, &second, &third};
    EXPECT_FALSE(DataSections(list).UpdateData());
    EXPECT_EQ(first.updateCount, 1);
    EXPECT_EQ(second.updateCount, 1);
    EXPECT_EQ(third.updateCount, 0);

    list.clear();
    EXPECT_TRUE(DataSections(list).UpdateData());
}

TEST(UpdatingSections, TakesARepeatedSectionRepeatedly)
{
    CountingSection health("Health");
    CountingSection other("Other");
    std::vector<DataSection*> list = {&health, &other, &health};
    DataSections sections(list);
    EXPECT_TRUE(sections.UpdateData());
    EXPECT_EQ(WriteToJson(sections), R"({"Health":2,"Other":1,"Health":2})");
}

} // namespace
