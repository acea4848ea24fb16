#include "Host/Tls/Encryption.hpp"

#include "Host/Http/HostNames.hpp"
#include "Oxa/System/Acf/SharedLibrary.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/TrustedPath.hpp"

#include <boost/asio/ip/address.hpp>
#include <dlfcn.h>

#include <chrono>
#include <filesystem>

namespace Oxa::Host::Tls
{

namespace
{

constexpr std::chrono::hours refreshPeriod{1};

/// Beside the platform's libraries.
BasicString FindLibrary()
{
    Dl_info platform = {};
    if (dladdr(reinterpret_cast<void*>(&System::Commons::ReleaseUnusedMemory), &platform) == 0)
    {
        throw System::Commons::InvalidOperationException::Create("cannot find the folder of the libraries");
    }
    return (std::filesystem::path(platform.dli_fname).parent_path() / "libOxa.Host.Tls.so").string();
}

} // namespace

std::unique_ptr<ICertificateStore> OpenCertificateStore(const Configuration::HttpConfiguration& http,
                                                        System::Nm::NotificationManager& notifications)
{
    const std::filesystem::path folder = std::filesystem::absolute(http.certificatesPath);
    if (const auto weakness = System::Commons::FindOptionalPathWeakness(folder))
    {
        throw System::Commons::InvalidOperationException::Create("cannot use the certificates: {0}", *weakness);
    }
    // It is never unloaded, so its objects may outlive this handle.
    const System::Acf::SharedLibrary library(FindLibrary());
    const auto getNames = [names = Http::HostNames(http.hosts), address = boost::asio::ip::make_address(http.address)]
    {
        return names.GetAll(address);
    };
    return std::unique_ptr<ICertificateStore>(
        library.GetFunction<CreateStoreFunction>("CreateStore")({folder, getNames}, notifications));
}

Encryption::Encryption(Threads::EventLoop& loop, const Configuration::HttpConfiguration& configuration,
                       System::Nm::NotificationManager& notifications)
    : loop(loop), configuration(configuration), notifications(notifications), timer(loop.GetContext())
{
}

void Encryption::Load()
{
    if (configuration.isSecure)
    {
        System::Commons::UseConfigured(
            [this]
            {
                certificates = OpenCertificateStore(configuration, notifications);
                certificates->Load();
            });
        RefreshLater();
    }
}

void Encryption::Reload() noexcept
{
    if (certificates)
    {
        const Threads::EventLoop::BlockingSection call(loop);
        certificates->Reload();
    }
}

Http::SecureChannelFactory Encryption::GetChannelFactory()
{
    if (!configuration.isSecure)
    {
        return {};
    }
    return [this](int descriptor)
    {
        return certificates->Accept(descriptor);
    };
}

void Encryption::RefreshLater()
{
    timer.expires_after(refreshPeriod);
    timer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                const Threads::EventLoop::BlockingSection call(loop);
                certificates->Refresh();
                RefreshLater();
            }
        });
}

} // namespace Oxa::Host::Tls
