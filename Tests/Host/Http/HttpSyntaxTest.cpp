#include "Host/Http/HttpSyntax.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace Oxa::Host::Http
{

namespace
{

TEST(ReadingQueries, FindsParametersThatAreRepeatedTooOften)
{
    const std::tuple<BasicString, std::size_t, bool> cases[] = {{"", 1, false},
                                                                {"a", 1, false},
                                                                {"a&b", 1, false},
                                                                {"a&a", 1, true},
                                                                {"a&a", 2, false},
                                                                {"a&b&a&b&a&b", 3, false},
                                                                {"a&b&a&b&a&b&a", 3, true},
                                                                {"a&b&a&b&a&b&A", 3, false},
                                                                {"a&a&a=1&a=2&a=3", 2, false},
                                                                {"a=1&b&a=1&b&a=1", 2, true},
                                                                // However it is encoded, the separator too.
                                                                {"a&%61&%61", 2, true},
                                                                {"%4a&%4A&J", 2, true},
                                                                {"a%26a%26a", 2, true},
                                                                {"a%2526a&a%2526b", 1, false},
                                                                {"%&%&%", 2, true},
                                                                {"&&&", 2, true},
                                                                {"&&", 2, false},
                                                                {BasicString(8000, '&'), 1000, true}};
    for (const auto& [query, maximum, isRepeated] : cases)
    {
        EXPECT_EQ(HasRepetitions(query, maximum), isRepeated) << query << ", at most " << maximum;
    }
}

} // namespace

} // namespace Oxa::Host::Http
