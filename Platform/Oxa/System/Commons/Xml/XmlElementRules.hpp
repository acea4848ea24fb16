#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <functional>
#include <map>

namespace Oxa::System::Commons::Xml
{

/// What a configuration document may hold: a function for each path of elements, which is called for every element that
/// lies there, in the order of the document. Owned by the document's reader. Threads: one at a time.
class OXA_EXPORT XmlElementRules final
{
public:
    using ReadFunction = std::function<void(const XmlElementReader&)>;

    /// `path`: names of the elements below the document element, for instance "Modules/Module".
    void Add(const BasicString& path, ReadFunction read);

    /// Requires: the reader stands on the document element, which may have no attributes. Throws XmlException, with
    /// file and line, for elements that no rule is for, for children of the document element that occur twice, and for
    /// texts that are more than blanks.
    void Read(XmlReader& reader, XmlSerializationContext& context) const;

private:
    std::map<BasicString, ReadFunction> rules;
};

} // namespace Oxa::System::Commons::Xml
