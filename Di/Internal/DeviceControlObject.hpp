#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

/// The object whose permission guards the control requests; the data handler is asked about it beforehand.
inline const BasicString deviceControlObjectName = "DeviceControl";

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
