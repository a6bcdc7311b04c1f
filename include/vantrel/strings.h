// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_STRINGS_H
#define INCLUDE_VANTREL_STRINGS_H

/// \file
/// Public: comparisons and searches in texts.

#include "foundation/text/strings.h"

#endif
