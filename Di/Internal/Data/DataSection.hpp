#pragma once

#include "Di/Internal/Data/DiRscData.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// A named piece of device information: refreshes its values on request and writes them as one JSON member under its
/// own name. Owned by the data handler, like the service pointers that sections refer to.
/// Threads: one at a time.
class DataSection : public System::Commons::Json::IJsonSerializable, protected DiRscData
{
public:
    ~DataSection() override;

    /// Does nothing: sections are only written.
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;

    /// Writes exactly one member into the object that is open.
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

    /// Called once after the services have been subscribed. Here: does nothing.
    virtual void Setup();

    /// Reads the values anew; false when the section must not be sent. Here: does nothing and returns true.
    [[nodiscard]] virtual bool UpdateData();

    /// Writes the member: `GetName()` is its key.
    virtual void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                               System::Commons::Json::JsonSerializationContext& context) = 0;

    /// The name by which requests select the section.
    [[nodiscard]] const BasicString& GetName() const;

protected:
    explicit DataSection(const BasicString& name);

private:
    const BasicString name;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
