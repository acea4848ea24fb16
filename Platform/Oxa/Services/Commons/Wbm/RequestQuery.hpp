#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Commons::Wbm
{

/// The part of a request's target behind the "?". Percent-encoded octets are decoded, "+" stays "+", and a "%" without
/// two hexadecimal digits stays as it is.
class OXA_EXPORT RequestQuery final
{
public:
    RequestQuery();

    /// As received, without the "?".
    explicit RequestQuery(BasicString text);

    [[nodiscard]] BasicString GetQueryString(bool decoded) const;

    /// The decoded value of the first parameter of that name; empty for a parameter without "=". False, and `value` is
    /// unchanged, without such a parameter. `ignoreCase`: names are compared without ASCII case.
    bool TryGetParameterValue(const BasicString& name, BasicString& value, bool ignoreCase) const;

private:
    BasicString text;
};

} // namespace Oxa::Services::Commons::Wbm
