#pragma once

#include "Oxa/System/Commons/Export.hpp"

namespace Oxa::System::Rsc
{

/// The root of every service interface, of implementations and proxies alike.
class OXA_EXPORT IRscService
{
public:
    virtual ~IRscService();
};

} // namespace Oxa::System::Rsc
