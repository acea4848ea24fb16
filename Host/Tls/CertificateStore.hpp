#pragma once

#include "Host/Tls/Certificate.hpp"
#include "Host/Tls/ICertificateStore.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <functional>
#include <optional>
#include <utility>

namespace Oxa::Host::Tls
{

/// See ICertificateStore. `notifications` is borrowed.
class CertificateStore final : public ICertificateStore,
                               private System::Commons::Diagnostics::Logging::Loggable<CertificateStore>
{
public:
    using Clock = std::function<SystemTime()>;

    CertificateStore(CertificateSettings settings, System::Nm::NotificationManager& notifications,
                     Clock clock = &std::chrono::system_clock::now);

    void Load() override;
    void Reload() noexcept override;
    void Refresh() noexcept override;
    [[nodiscard]] std::unique_ptr<Http::ISecureChannel> Accept(int descriptor) override;
    [[nodiscard]] CertificateInfo Find(std::vector<BasicString>& faults) const override;

private:
    static constexpr int64 noWarning = -1;

    /// The certificate of new connections.
    struct Current
    {
        CertificateInfo info;
        UniqueContext context;
        bool isIssued = false;
        SystemTime end = {};
    };

    /// Without the one that is made here, the best first.
    [[nodiscard]] std::vector<BasicString> ListNames() const;
    [[nodiscard]] Certificate Read(const BasicString& name) const;
    [[nodiscard]] Current Open(const BasicString& name, const Certificate& certificate) const;
    [[nodiscard]] Current OpenSelfSigned(std::vector<BasicString>& faults);
    void TryChoose(bool repeatsFaults) noexcept;
    void Choose(bool isStart, std::vector<BasicString>& faults) OXA_REQUIRES(changeMutex);
    void Use(Current&& next) OXA_REQUIRES(changeMutex);
    void Tell(std::vector<BasicString>&& faults, bool repeats) OXA_REQUIRES(changeMutex);
    void Publish(const BasicString& path, std::vector<std::pair<BasicString, BasicString>> fields);

    const CertificateSettings settings;
    System::Nm::NotificationManager& notifications;
    const Clock clock;

    /// For the threads that change the certificate; taken before `mutex`.
    System::Commons::Mutex changeMutex;
    /// Told last, not to be told again.
    std::vector<BasicString> toldFaults OXA_GUARDED_BY(changeMutex);
    /// Of the last warning that the certificate expires.
    int64 toldDays OXA_GUARDED_BY(changeMutex) = noWarning;

    System::Commons::Mutex mutex;
    Current current OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Tls
