// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_JSON_PARTS_H
#define INCLUDE_VANTREL_JSON_PARTS_H

/// \file
/// Public: JSON piece by piece.

#include "foundation/json/json_parts.h"

#endif
