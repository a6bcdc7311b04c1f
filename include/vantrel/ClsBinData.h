// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSBINDATA_H
#define INCLUDE_VANTREL_CLSBINDATA_H

/// \file
/// Public: bytes.

#include "foundation/base/ClsBinData.h"

#endif
