// What a client sends. The first byte of an input says in which pieces it comes, the rest is the client's. Whatever the
// pieces, the reader has to find the same requests and the same problem, and what it lets through has to be clean.

#include "Fuzz/Require.hpp"
#include "Support/ReadRequests.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace
{

/// The texts of a request hold no control character. Those in its body are not its own.
void RequireCleanHeaders(std::string_view found)
{
    const std::string_view header = found.substr(0, found.find(" body='"));
    for (const char character : header)
    {
        Require((static_cast<unsigned char>(character) >= ' ' && character != '\x7F') || character == '\t');
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t pieceBytes = std::size_t{data[0]} + 1;
    using Oxa::Tests::Support::ReadRequests;
    const auto found = ReadRequests(bytes, bytes.size(), bytes.size());
    RequireCleanHeaders(found);
    Require(ReadRequests(bytes, 1, 1) == found);
    Require(ReadRequests(bytes, pieceBytes, pieceBytes) == found);
    Require(ReadRequests(bytes, pieceBytes, bytes.size()) == found);
    return 0;
}
