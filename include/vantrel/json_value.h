// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_JSON_VALUE_H
#define INCLUDE_VANTREL_JSON_VALUE_H

/// \file
/// Public: JSON as values.

#include "foundation/json/json_value.h"

#endif
