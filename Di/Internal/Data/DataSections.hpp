#pragma once

#include "Di/Internal/Data/DiRscData.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

class DataSection;

/// The sections that one request names, in its order; the same section may stand there more than once. Lives for one
/// request. What a section throws is passed on.
class DataSections final : public System::Commons::Json::IJsonSerializable,
                           private DiRscData,
                           private System::Commons::Diagnostics::Logging::Loggable<DataSections>
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
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;

    /// Writes the sections' members side by side into the object that is open.
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

private:
    std::vector<DataSection*>& sections;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
