// SPDX-License-Identifier: MIT
/// @file
/// base/Export.h under another name, for hosts that include it from here.
#include "../base/Export.h"
