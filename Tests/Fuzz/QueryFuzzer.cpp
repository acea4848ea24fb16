// The query of a request, as a module reads it. Decoding never makes a text longer, and a query without "%" is its own
// decoded text.

#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

void Require(bool isTrue)
{
    if (!isTrue)
    {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Oxa::BasicString text(reinterpret_cast<const char*>(data), size);
    const Oxa::Services::Commons::Wbm::RequestQuery query(text);
    Require(query.GetQueryString(false) == text);
    const Oxa::BasicString decoded = query.GetQueryString(true);
    Require(decoded.size() <= text.size());
    Require(decoded == text || text.find('%') != Oxa::BasicString::npos);
    for (const bool ignoresCase : {false, true})
    {
        Oxa::BasicString value = "unchanged";
        const bool isFound = query.TryGetParameterValue("SectionName", value, ignoresCase);
        Require(isFound ? value.size() <= text.size() : value == "unchanged");
    }
    return 0;
}
