// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_LIMITS_H
#define INCLUDE_VANTREL_LIMITS_H

/// \file
/// Public: bounds on what a document may ask for.

#include "dsig/document/limits.h"

#endif
