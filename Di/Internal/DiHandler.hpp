#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Di/Internal/DiWbmHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>
#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

namespace Settings
{
class DiSettings;
}

/// Handles the data requests and the page. Owns the five data sections for its whole life.
/// Threads: the sections are shared by all requests and not locked; the host never has two requests in progress at the
/// same time. What services and sections throw is passed on. Requires of requests: the handler is available.
class DiHandler final : public Services::Commons::Wbm::Modules::WbmPageHandlerBase,
                        public DiWbmHandlerBase,
                        private System::Commons::Diagnostics::Logging::Loggable<DiHandler>
{
public:
    /// `settings` are borrowed, and need not have been read yet. Calls no service.
    explicit DiHandler(Settings::DiSettings& settings);

    [[nodiscard]] bool IsAvailable() const override;

    void SubscribeServices();

    /// Prepares every section. Requires: `SubscribeServices` ran before.
    void Setup() const;

    [[nodiscard]] Services::Commons::Wbm::WbmResponse GetDataSection(const Services::Commons::Wbm::WbmRequest& request);
    [[nodiscard]] Services::Commons::Wbm::WbmResponse
    GetDataSections(const Services::Commons::Wbm::WbmRequest& request);
    [[nodiscard]] Services::Commons::Wbm::WbmResponse
    HasControlPermissions(const Services::Commons::Wbm::WbmRequest& request) const;
    [[nodiscard]] Services::Commons::Wbm::WbmResponse
    IsRunStopSwitchSupported(const Services::Commons::Wbm::WbmRequest& request);
    [[nodiscard]] Services::Commons::Wbm::WbmResponse
    IsRunStopSwitchInRun(const Services::Commons::Wbm::WbmRequest& request);

    [[nodiscard]] bool ValidateDataSectionName(const BasicString& name);
    [[nodiscard]] bool ValidateDataSectionsList(const std::vector<BasicString>& names);

    /// Null for an unknown name; names are compared byte for byte. Owned by the handler.
    [[nodiscard]] Data::DataSection* GetDeviceDataSection(const BasicString& name);

    /// In the order of the names, repeated ones repeatedly, unknown ones left out.
    [[nodiscard]] std::vector<Data::DataSection*> GetDeviceDataSections(const std::vector<BasicString>& names);

private:
    std::vector<std::shared_ptr<Data::DataSection>> dataSections;
    Settings::DiSettings& settings;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
