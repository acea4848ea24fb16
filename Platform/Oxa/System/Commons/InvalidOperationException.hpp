#pragma once

// Declared with the other exceptions of the platform.
#include "Oxa/System/Commons/Exception.hpp"
