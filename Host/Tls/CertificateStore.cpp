#include "Host/Tls/CertificateStore.hpp"

#include "Host/Tls/TlsChannel.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

// The lock `changeMutex` is held while files are read and written; `mutex` only while a connection is accepted or the
// certificate replaced. A connection keeps the context that it began with.

namespace Oxa::Host::Tls
{

using System::Commons::Exception;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::chrono::hours day{24};
constexpr auto renewalTime = 30 * day;
/// An issued certificate that should have been renewed by now.
constexpr auto warningTime = 14 * day;

BasicString FormatTime(SystemTime time)
{
    return DateTime::FromUnixTimeMicroseconds(
               std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count())
        .ToIso8601String();
}

} // namespace

CertificateStore::CertificateStore(CertificateSettings settings, System::Nm::NotificationManager& notifications,
                                   Clock clock)
    : settings(std::move(settings)), notifications(notifications), clock(std::move(clock))
{
}

void CertificateStore::Load()
{
    if (mkdir(settings.folder.c_str(), S_IRWXU) != 0 && errno != EEXIST)
    {
        System::Commons::ThrowErrno("cannot make the folder '" + settings.folder + "'", errno);
    }
    const MutexLock lock(changeMutex);
    std::vector<BasicString> faults;
    Choose(true, faults);
    Tell(std::move(faults), true);
}

void CertificateStore::Reload() noexcept
{
    TryChoose(true);
}

void CertificateStore::Refresh() noexcept
{
    TryChoose(false);
}

std::unique_ptr<Http::ISecureChannel> CertificateStore::Accept(int descriptor)
{
    const MutexLock lock(mutex);
    return std::make_unique<TlsChannel>(*current.context, descriptor, current.isIssued);
}

CertificateInfo CertificateStore::Find(std::vector<BasicString>& faults) const
{
    if (!std::filesystem::exists(settings.folder))
    {
        return {};
    }
    std::vector<BasicString> names = ListNames();
    if (std::filesystem::exists(settings.folder + '/' + selfSignedName))
    {
        names.emplace_back(selfSignedName);
    }
    for (const BasicString& name : names)
    {
        try
        {
            return Open(name, Read(name)).info;
        }
        catch (const Exception& exception)
        {
            faults.push_back(exception.GetMessage());
        }
    }
    return {};
}

std::vector<BasicString> CertificateStore::ListNames() const
{
    std::vector<BasicString> names;
    std::error_code error;
    for (std::filesystem::directory_iterator file(settings.folder, error), end; !error && file != end;
         file.increment(error))
    {
        const std::filesystem::path extension = file->path().extension();
        BasicString name = file->path().filename().string();
        if ((extension == ".pem" || extension == ".crt") && !name.starts_with('.') && name != selfSignedName)
        {
            names.push_back(std::move(name));
        }
    }
    if (error)
    {
        System::Commons::ThrowErrno("cannot read the folder '" + settings.folder + "'", error.value());
    }
    std::ranges::sort(names, std::ranges::greater());
    return names;
}

Certificate CertificateStore::Read(const BasicString& name) const
{
    const BasicString path = settings.folder + '/' + name;
    const BasicString keyPath = path.substr(0, path.rfind('.')) + ".key";
    return {path, std::filesystem::exists(keyPath) ? keyPath : path, clock()};
}

CertificateStore::Current CertificateStore::Open(const BasicString& name, const Certificate& certificate) const
{
    const BasicString path = settings.folder + '/' + name;
    try
    {
        return {{path, certificate.GetFingerprint(), FormatTime(certificate.GetEnd())},
                MakeContext(certificate),
                name != selfSignedName,
                certificate.GetEnd()};
    }
    catch (const System::Commons::InvalidOperationException& exception)
    {
        throw System::Commons::InvalidOperationException::Create("'{0}': {1}", path, exception.GetMessage());
    }
}

/// Makes it when it is missing, damaged, about to expire, or without a name that the machine has now.
CertificateStore::Current CertificateStore::OpenSelfSigned(std::vector<BasicString>& faults)
{
    const BasicString path = settings.folder + '/' + selfSignedName;
    const std::vector<BasicString> names = settings.getNames();
    std::optional<Certificate> existing;
    if (std::filesystem::exists(path))
    {
        try
        {
            existing = Read(selfSignedName);
        }
        catch (const System::Commons::InvalidOperationException& exception)
        {
            Log(LogLevel::Warning, "the self-signed certificate is replaced: {0}", exception.GetMessage());
        }
    }
    if (existing && existing->GetEnd() - clock() > renewalTime &&
        std::ranges::all_of(names, [&existing](const BasicString& name) { return existing->HasName(name); }))
    {
        return Open(selfSignedName, *existing);
    }
    try
    {
        const Certificate made = Certificate::MakeSelfSigned(names, clock());
        Current next = Open(selfSignedName, made);
        made.Save(path);
        return next;
    }
    catch (const Exception& exception)
    {
        if (!existing)
        {
            throw;
        }
        faults.push_back(exception.GetMessage());
        return Open(selfSignedName, *existing);
    }
}

void CertificateStore::TryChoose(bool repeatsFaults) noexcept
{
    const MutexLock lock(changeMutex);
    std::vector<BasicString> faults;
    try
    {
        try
        {
            Choose(false, faults);
        }
        catch (const Exception& exception)
        {
            faults.push_back(exception.GetMessage());
        }
        Tell(std::move(faults), repeatsFaults);
    }
    catch (...)
    {
        // Out of memory. The certificate in use stays.
        Log(LogLevel::Error, "cannot read the certificates: out of memory");
    }
}

/// A certificate is in use unless this is the start, and stays when the last one of the folder cannot be used.
void CertificateStore::Choose(bool isStart, std::vector<BasicString>& faults)
{
    for (const BasicString& name : ListNames())
    {
        try
        {
            Use(Open(name, Read(name)));
            return;
        }
        catch (const System::Commons::InvalidOperationException& exception)
        {
            faults.push_back(exception.GetMessage());
            if (!isStart)
            {
                return;
            }
        }
    }
    Use(OpenSelfSigned(faults));
}

void CertificateStore::Use(Current&& next)
{
    const CertificateInfo info = next.info;
    const auto remaining = next.end - clock();
    const bool isLate = next.isIssued && remaining < warningTime;
    bool isChanged = false;
    {
        // The replaced context is destroyed after the lock has been released.
        const MutexLock lock(mutex);
        isChanged = current.info.fingerprint != info.fingerprint;
        std::swap(current, next);
    }
    if (isChanged)
    {
        Log(LogLevel::Information, "uses the certificate '{0}', valid until {1}, SHA-256 {2}", info.path, info.end,
            info.fingerprint);
        Publish(info.path, {{"outcome", "success"}, {"fingerprint", info.fingerprint}, {"end", info.end}});
    }
    const auto days = isLate ? std::chrono::duration_cast<std::chrono::hours>(remaining) / day : noWarning;
    if (std::exchange(toldDays, days) != days && isLate)
    {
        Log(LogLevel::Warning, "the certificate '{0}' expires in {1} days", info.path, days);
    }
}

void CertificateStore::Tell(std::vector<BasicString>&& faults, bool repeats)
{
    if (!repeats && faults == toldFaults)
    {
        return;
    }
    toldFaults = std::move(faults);
    for (const BasicString& fault : toldFaults)
    {
        Log(LogLevel::Error, "a certificate cannot be used: {0}", fault);
        Publish(settings.folder, {{"outcome", "failure"}, {"cause", fault}});
    }
}

void CertificateStore::Publish(const BasicString& path, std::vector<std::pair<BasicString, BasicString>> fields)
{
    fields.emplace_back("object", path);
    notifications.Publish(
        {{}, System::Nm::NotificationKind::CertificateChanged, "Host.Tls", {}, path, std::move(fields)});
}

} // namespace Oxa::Host::Tls

extern "C" OXA_EXPORT Oxa::Host::Tls::ICertificateStore*
CreateStore(const Oxa::Host::Tls::CertificateSettings& settings, Oxa::System::Nm::NotificationManager& notifications)
{
    return new Oxa::Host::Tls::CertificateStore(settings, notifications);
}
