#pragma once

#include "Device/Commands/CommandSettings.hpp"
#include "Device/Description/DescribedMachine.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace Oxa::Device::Linux::Description
{

/// What a description says of an item's value for people; what it does not say is that of the well-known item.
struct GivenMeaning
{
    std::optional<BasicString> unit;
    std::optional<BasicString> description;
    std::optional<bool> hasHistory;
    /// For an item that is not well-known, when the description gives none.
    BasicString sourceUnit;
};

/// One item as it is described.
struct DescribedItem
{
    /// None: that of each of the source's values.
    std::optional<System::Rsc::RscType> type;
    GivenMeaning meaning;
    /// Whether there is one such item for each core, and one for all; the key then has "{0}" where the number belongs.
    bool isForEachCore = false;
    SourceMaker makeSource;
    /// Where it is described.
    BasicString fileName;
    int line = 0;
};

/// The parts of a device: read from a document, or from the documents of a folder, of which later ones replace single
/// items. It is independent of the machine; any number of item tables can be made from it. A value type.
struct DeviceDescription
{
    static constexpr const char* elementName = "DeviceDescriptionDocument";

    /// The first mistake is an XmlException with file and line.
    [[nodiscard]] static DeviceDescription Load(const BasicString& path);

    /// The same for one document in memory; `fileName` is for messages only.
    [[nodiscard]] static DeviceDescription Parse(const BasicString& text, BasicString fileName);

    /// Never null; at most `ItemHistories::maximumItems` have a history. An item that is described by its own key
    /// replaces one of the items for each core.
    [[nodiscard]] std::unique_ptr<Items::ItemTable> MakeItems(DescribedMachine& machine) const;

    /// For people; that of the last document that has one.
    BasicString name;
    std::map<BasicString, DescribedItem> items;
    Commands::CommandSettings commands;
    /// The files that were read, in their order, and those of them that describe nothing.
    std::vector<BasicString> files;
    std::vector<BasicString> emptyFiles;
};

/// The result of checking a description: messages with a file and mostly a line.
struct DescriptionFindings
{
    /// Empty when the description can be used.
    std::vector<BasicString> mistakes;
    /// What can be used but is probably not meant.
    std::vector<BasicString> warnings;
};

/// Finds every mistake in a description: in a document that is not well-formed, those before the fault; the other files
/// of a folder are checked all the same.
[[nodiscard]] DescriptionFindings CheckDescription(const BasicString& path);

} // namespace Oxa::Device::Linux::Description
