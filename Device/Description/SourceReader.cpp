#include "Device/Description/SourceReader.hpp"

#include "Device/Description/DescriptionDocument.hpp"
#include "Device/Description/SourceElements.hpp"
#include "Device/Items/ItemConversion.hpp"
#include "Device/Sources/FallbackSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Description
{

using SourceList = std::vector<std::unique_ptr<Items::IItemSource>>;

namespace
{

enum class Choice
{
    AtEveryRead,
    AtStart
};

SourceList MakeAll(const std::vector<SourceMaker>& makers, DescribedMachine& machine)
{
    SourceList sources;
    for (const SourceMaker& make : makers)
    {
        sources.push_back(make(machine));
    }
    return sources;
}

/// The first that gives a value of the type now; the last one when none does.
std::unique_ptr<Items::IItemSource> ChooseNow(SourceList sources, std::optional<System::Rsc::RscType> type)
{
    const auto pass = Items::ReadPass::Begin();
    for (auto& source : sources)
    {
        if (Items::ItemConversion::ReadAs(type, *source, pass).HasValue())
        {
            return std::move(source);
        }
    }
    return std::move(sources.back());
}

} // namespace

SourceReader::SourceReader(DescriptionCursor& cursor, std::optional<System::Rsc::RscType> itemType)
    : cursor(cursor), itemType(itemType)
{
}

SourceMaker SourceReader::ReadSource()
{
    return cursor.GetElement().GetName() == "first" ? ReadFirst() : ReadSimple();
}

bool SourceReader::IsForEachCore() const noexcept
{
    return isForEachCore;
}

SourceMaker SourceReader::ReadSimple()
{
    DescriptionElement element = cursor.GetElement();
    const ReadSourceFunction read = FindSourceElement(element.GetName());
    if (read == nullptr)
    {
        element.ReportUnknown();
        cursor.Skip();
        return {};
    }
    element.SetItemType(itemType);
    SourceMaker make = read(element);
    element.ReportOthers();
    isForEachCore = isForEachCore || element.IsForEachCore();
    cursor.RefuseChildren();
    return make;
}

SourceMaker SourceReader::ReadFirst()
{
    DescriptionElement element = cursor.GetElement();
    auto choice = Choice::AtEveryRead;
    element.ReadChoice("choice", {{"read", Choice::AtEveryRead}, {"start", Choice::AtStart}}, choice);
    element.ReportOthers();
    if (nesting == DescriptionDocument::maximumNesting)
    {
        element.Report("more than {0} elements 'first' lie in one another", DescriptionDocument::maximumNesting);
        cursor.Skip();
        return {};
    }
    return [makers = ReadAlternatives(), choice,
            type = itemType](DescribedMachine& machine) -> std::unique_ptr<Items::IItemSource>
    {
        SourceList sources = MakeAll(makers, machine);
        return choice == Choice::AtStart ? ChooseNow(std::move(sources), type)
                                         : std::make_unique<Sources::FallbackSource>(std::move(sources), type);
    };
}

std::vector<SourceMaker> SourceReader::ReadAlternatives()
{
    const int line = cursor.GetLine();
    std::vector<SourceMaker> makers;
    ++nesting;
    cursor.ForEachChild([this, &makers] { makers.push_back(ReadSource()); });
    --nesting;
    if (makers.empty())
    {
        cursor.ReportAt(line, "the element 'first' has no source in it");
    }
    return makers;
}

} // namespace Oxa::Device::Linux::Description
