#include "Di/Internal/Data/DataSections.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using Oxa::Services::Modules::Wbm::Di::Internal::Data::DataSections;

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

} // namespace
