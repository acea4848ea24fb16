#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

namespace Oxa::System::Nm
{
class NotificationManager;
}

namespace Oxa::Host::Configuration
{
struct ModuleConfiguration;
}

namespace Oxa::Host::Modules
{

/// The border to the operations of a module's life: what they throw is logged with the module's library and the cause,
/// and published. Threads: safe from any thread.
class ModuleBorder final : private System::Commons::Diagnostics::Logging::Loggable<ModuleBorder>
{
public:
    /// Borrowed.
    explicit ModuleBorder(System::Nm::NotificationManager& notifications);

    /// False: it failed. Lets only an XmlException out: about settings that cannot be read the caller decides.
    /// `operation` is for the log, for instance "cannot be set up".
    template <class Operation>
    [[nodiscard]] bool TryCall(const Configuration::ModuleConfiguration& configuration, const char* operation,
                               const Operation& call) const
    {
        try
        {
            call();
            return true;
        }
        catch (const System::Commons::XmlException&)
        {
            throw;
        }
        catch (...)
        {
            Report(configuration, operation, System::Commons::DescribeCurrentException());
        }
        return false;
    }

    /// The same, whatever it is.
    template <class Operation>
    void CallAndReport(const Configuration::ModuleConfiguration& configuration, const char* operation,
                       const Operation& call) const
    {
        try
        {
            (void)TryCall(configuration, operation, call);
        }
        catch (const System::Commons::XmlException& exception)
        {
            Report(configuration, operation, exception.what());
        }
    }

private:
    void Report(const Configuration::ModuleConfiguration& configuration, const char* operation,
                const BasicString& cause) const;

    System::Nm::NotificationManager& notifications;
};

} // namespace Oxa::Host::Modules
