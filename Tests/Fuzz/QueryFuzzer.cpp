// The query of a request. The first byte of an input is a bound on repetitions, the rest is the client's. The bound has
// to hold for what a module sees: the decoded text, split at each "&".

#include "Host/Http/HttpSyntax.hpp"
#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    const std::string_view query(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t maximum = data[0] % 8 + std::size_t{1};
    const Oxa::Services::Commons::Wbm::RequestQuery parsed{Oxa::BasicString(query)};
    const Oxa::BasicString decoded = parsed.GetQueryString(true);
    std::map<std::string_view, std::size_t> counts;
    bool isRepeated = false;
    for (std::string_view rest = decoded; !rest.empty();)
    {
        isRepeated = ++counts[Oxa::Host::Http::TakeUntil(rest, '&')] > maximum || isRepeated;
    }
    Oxa::BasicString value;
    (void)parsed.TryGetParameterValue("a", value, (data[0] & 0x80U) != 0);
    if (decoded.size() > query.size() || Oxa::Host::Http::HasRepetitions(query, maximum) != isRepeated)
    {
        std::abort();
    }
    return 0;
}
