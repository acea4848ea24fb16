// The body of a request to the host's own routes. A body is either taken with every member of the right type, or
// refused with a cause that a client may see.

#include "Fuzz/Require.hpp"
#include "Host/Http/JsonBody.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using Oxa::Host::Http::JsonBody;
    const JsonBody body({reinterpret_cast<const char*>(data), size},
                        {{"user", JsonBody::TokenType::String},
                         {"password", JsonBody::TokenType::String},
                         {"days", JsonBody::TokenType::Number, false},
                         {"disabled", JsonBody::TokenType::Boolean, false}});
    if (!body.GetFault().empty())
    {
        Require(Oxa::System::Commons::Text::IsValidUtf8(body.GetFault()));
        return 0;
    }
    for (const std::string_view name : {"user", "password"})
    {
        Require(body.FindText(name) && body.GetText(name).size() <= size);
    }
    (void)body.FindText("days");
    (void)body.FindBoolean("disabled");
    return 0;
}
