#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <concepts>
#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Oxa::System::Commons::Json
{

/// Writes one JSON document from front to back. Duplicate keys are written as given. Bytes that are no UTF-8 become
/// U+FFFD, so that every document is valid.
/// Threads: one at a time. Throws InvalidOperationException when a bracket is closed that is not open.
class OXA_EXPORT JsonWriter final
{
public:
    JsonWriter();
    JsonWriter(const JsonWriter&) = delete;
    JsonWriter& operator=(const JsonWriter&) = delete;
    ~JsonWriter();

    void WriteStartObject();
    void WriteStartObject(std::string_view name);
    void WriteEndObject();

    void WriteValue(std::string_view name, std::string_view value);
    void WriteValue(std::string_view name, const char* value);
    void WriteValue(std::string_view name, bool value);

    template <std::integral T>
    void WriteValue(std::string_view name, T value)
    {
        WriteInteger(name, static_cast<std::conditional_t<std::is_signed_v<T>, int64, uint64>>(value));
    }

    /// The shortest decimal number that reads back as the same value; null for NaN and infinities.
    void WriteValue(std::string_view name, double value);
    void WriteValue(std::string_view name, float value);

    void WriteNull(std::string_view name);

    /// Members of the open object that have been written before, for instance `"a":1,"b":2`; they are not checked.
    /// Requires: at least one.
    void WriteMembers(std::string_view members);

    /// An array of numbers, also for 8-bit elements; of floating-point ones as `WriteValue` writes them.
    void WriteSimpleArray(std::string_view name, const std::vector<uint8>& values);
    void WriteSimpleArray(std::string_view name, const std::vector<float>& values);
    void WriteSimpleArray(std::string_view name, const std::vector<BasicString>& values);

    /// An array of objects: the items lie between these two.
    void WriteStartComplexArray(std::string_view name);
    /// False, and nothing is written, when the innermost open bracket is not a complex array's.
    bool TryWriteEndComplexArray();

    /// False, and nothing is written, when the innermost open bracket is not a complex array's.
    bool TryWriteStartComplexArrayItem();
    void WriteEndComplexArrayItem();

    /// Valid until the next call of this object.
    [[nodiscard]] std::string_view GetText() const noexcept;

private:
    void WriteInteger(std::string_view name, int64 value);
    void WriteInteger(std::string_view name, uint64 value);

    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace Oxa::System::Commons::Json
