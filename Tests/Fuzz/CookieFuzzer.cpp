// The field Cookie. What is found is a piece of the field that ends before the next cookie, and none is found that the
// field does not name.

#include "Fuzz/Require.hpp"
#include "Host/Http/HttpSyntax.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view cookies(reinterpret_cast<const char*>(data), size);
    for (const std::string_view name : {"oxa-session", "__Host-oxa-session"})
    {
        const std::string_view value = Oxa::Host::Http::FindCookie(cookies, name);
        Require(value.find(';') == std::string_view::npos);
        if (!value.empty())
        {
            const std::size_t begin = static_cast<std::size_t>(value.data() - cookies.data());
            Require(cookies.substr(0, begin).find(name) != std::string_view::npos);
            Require(begin + value.size() <= cookies.size());
        }
    }
    return 0;
}
