// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSJSONOBJECT_H
#define INCLUDE_VANTREL_CLSJSONOBJECT_H

/// \file
/// Public: JSON: options and reports.

#include "foundation/json/ClsJsonObject.h"

#endif
