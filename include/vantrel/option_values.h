// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_OPTION_VALUES_H
#define INCLUDE_VANTREL_OPTION_VALUES_H

/// \file
/// Public, for static linking: what the values of options may be, for readers of options.

#include "api/option_values.h"

#endif
