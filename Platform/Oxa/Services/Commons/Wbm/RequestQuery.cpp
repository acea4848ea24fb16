#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"

#include <boost/algorithm/string/predicate.hpp>

#include <charconv>
#include <locale>
#include <string_view>
#include <utility>

namespace Oxa::Services::Commons::Wbm
{

namespace
{

BasicString DecodePercent(std::string_view text)
{
    BasicString result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        if (text[index] == '%' && index + 2 < text.size())
        {
            unsigned char octet = 0;
            const char* const digits = text.data() + index + 1;
            const auto [end, error] = std::from_chars(digits, digits + 2, octet, 16);
            if (error == std::errc() && end == digits + 2)
            {
                result += static_cast<char>(octet);
                index += 2;
                continue;
            }
        }
        result += text[index];
    }
    return result;
}

} // namespace

RequestQuery::RequestQuery() = default;

RequestQuery::RequestQuery(BasicString text) : text(std::move(text)) {}

BasicString RequestQuery::GetQueryString(bool decoded) const
{
    return decoded ? DecodePercent(text) : text;
}

bool RequestQuery::TryGetParameterValue(const BasicString& name, BasicString& value, bool ignoreCase) const
{
    std::string_view rest = text;
    while (!rest.empty())
    {
        const std::string_view parameter = rest.substr(0, rest.find('&'));
        rest.remove_prefix(parameter.size() < rest.size() ? parameter.size() + 1 : rest.size());
        const std::size_t equals = parameter.find('=');
        const BasicString parameterName = DecodePercent(parameter.substr(0, equals));
        if (parameterName == name ||
            (ignoreCase && boost::algorithm::iequals(parameterName, name, std::locale::classic())))
        {
            value = equals == std::string_view::npos ? BasicString() : DecodePercent(parameter.substr(equals + 1));
            return true;
        }
    }
    return false;
}

} // namespace Oxa::Services::Commons::Wbm
