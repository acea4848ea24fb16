#pragma once

#include "Di/Internal/Data/DataSection.hpp"

#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// The sections that one request names, in its order; a section may occur more than once. Lives for one request. What a
/// section throws is passed on.
class DataSections final : public IJsonSerializable, private DiRscData, private Loggable<DataSections>
{
public:
    /// `sections` is borrowed.
    explicit DataSections(std::vector<DataSection*>& sections);

    /// Splits at "&" after dropping one trailing "&". Nothing is trimmed, merged or checked; there is always at least
    /// one name, be it empty.
    [[nodiscard]] static std::vector<BasicString> ParseSectionsNamesList(const BasicString& sectionsNames);

    /// Updates one section after the other; false at the first one that fails, and those behind it are not updated.
    [[nodiscard]] bool UpdateData() const;

    /// Does nothing: sections are only written.
    void ReadJson(JsonReader& reader, JsonSerializationContext& context) override;

    /// Writes the sections' members side by side into the object that is open.
    void WriteJson(JsonWriter& writer, JsonSerializationContext& context) override;

private:
    std::vector<DataSection*>& sections;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
