#include "Oxa/System/Commons/Xml/XmlElementRules.hpp"

#include <set>
#include <utility>
#include <vector>

namespace Oxa::System::Commons::Xml
{

namespace
{

bool TryMoveOn(XmlReader& reader, const XmlElementReader& element)
{
    const bool isOnElement = reader.TryReadStartElement();
    element.RequireNoSkippedText();
    return isOnElement;
}

} // namespace

void XmlElementRules::Add(const BasicString& path, ReadFunction read)
{
    rules[path] = std::move(read);
}

void XmlElementRules::Read(XmlReader& reader, XmlSerializationContext& context) const
{
    const XmlElementReader element(reader, context);
    element.RequireOnly({});
    std::vector<BasicString> paths;
    std::set<BasicString> seen;
    while (TryMoveOn(reader, element))
    {
        paths.resize(static_cast<std::size_t>(reader.GetDepth() - 1));
        paths.push_back((paths.empty() ? "" : paths.back() + '/') + reader.GetElementName());
        const auto rule = rules.find(paths.back());
        if (rule == rules.end())
        {
            element.ThrowUnknownElement();
        }
        // What two of them say might differ.
        if (paths.size() == 1 && !seen.insert(paths.back()).second)
        {
            element.ThrowRepeatedElement();
        }
        rule->second(element);
    }
}

} // namespace Oxa::System::Commons::Xml
