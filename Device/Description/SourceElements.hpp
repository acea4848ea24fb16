#pragma once

#include "Device/Description/DescribedMachine.hpp"
#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <optional>
#include <string_view>

/// The elements of a description that stand for sources. Each is read by a function that reports mistakes and returns
/// what makes the source; what it makes of an element with mistakes is never called.
namespace Oxa::Device::Linux::Description
{

/// The item whose sources are read.
struct SourceContext
{
    BasicString itemKey;
    /// None: any type will do.
    std::optional<System::Rsc::RscType> itemType;
    /// That of the first source which knows it.
    BasicString unit = {};
    /// Set when one of the sources exists for each core.
    bool isForEachCore = false;
    /// The number of elements "first" that the present source lies in.
    int nesting = 0;
};

/// Reads any source.
[[nodiscard]] SourceMaker ReadSource(System::Commons::Xml::XmlElementReader& element, SourceContext& context);

/// The element "simulated".
[[nodiscard]] SourceMaker ReadSimulated(System::Commons::Xml::XmlElementReader& element, SourceContext& context);

/// The type that the attribute "type" names; none when it is not there or is a mistake.
[[nodiscard]] std::optional<System::Rsc::RscType> ReadType(System::Commons::Xml::XmlElementReader& element);

/// The text of an attribute, or a part of it, as a value of the item's type, else as a text; not set when it does not
/// fit the type or is too long.
[[nodiscard]] Items::ItemValue ParseValue(System::Commons::Xml::XmlElementReader& element,
                                          std::string_view attributeName, std::string_view text,
                                          const SourceContext& context);

} // namespace Oxa::Device::Linux::Description
