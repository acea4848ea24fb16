#pragma once

#include "Di/Internal/Data/DiRscData.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

// Used by most sections.
using Oxa::Device::Interface::Services::IDeviceInfoService;
using Oxa::Device::Interface::Services::IDeviceStatusService;
using System::Commons::Diagnostics::Logging::Loggable;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Json::IJsonSerializable;
using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonSerializationContext;
using System::Commons::Json::JsonWriter;
using System::Rsc::RscString;

/// A named piece of device information: refreshes its values on request and writes them as one JSON member under its
/// own name. Owned by the data handler, like the service pointers that sections refer to.
/// Threads: one at a time.
class DataSection : public IJsonSerializable, protected DiRscData
{
public:
    ~DataSection() override;

    /// Does nothing: sections are only written.
    void ReadJson(JsonReader& reader, JsonSerializationContext& context) override;

    /// Writes exactly one member into the object that is open.
    void WriteJson(JsonWriter& writer, JsonSerializationContext& context) override;

    /// Called once after the services have been subscribed. Here: does nothing.
    virtual void Setup();

    /// Reads the values anew; false when the section must not be sent. Here: does nothing and returns true.
    [[nodiscard]] virtual bool UpdateData();

    /// Writes the member: `GetName()` is its key.
    virtual void WriteJsonData(JsonWriter& writer, JsonSerializationContext& context) = 0;

    /// The name by which requests select the section.
    [[nodiscard]] const BasicString& GetName() const;

protected:
    explicit DataSection(const BasicString& name);

private:
    const BasicString name;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
