#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Commons;

TEST(CreatingExceptions, FillsTheTextAndCapturesTheStack)
{
    const auto exception = InvalidOperationException::Create("{1} of {0}", "whole", 3);
    EXPECT_STREQ(exception.what(), "3 of whole");
    EXPECT_FALSE(exception.GetStackTrace().empty());
    const auto copy = exception;
    EXPECT_EQ(copy.what(), exception.what()) << "copies share the text, so that copying cannot throw";
}

TEST(CreatingExceptions, NamesParameterValueAndFault)
{
    const BasicString text = ArgumentException::Create("moduleName", "Di", "Duplicate module name").what();
    for (const char* const part : {"moduleName", "'Di'", "Duplicate module name"})
    {
        EXPECT_NE(text.find(part), BasicString::npos) << text;
    }
    // A text that itself looks like a template is no template.
    EXPECT_NE(BasicString(ArgumentException::Create("{0}", "{1}", "{").what()).find("{1}"), BasicString::npos);
}

} // namespace
