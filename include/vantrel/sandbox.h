// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_SANDBOX_H
#define INCLUDE_VANTREL_SANDBOX_H

/// \file
/// Public: bounds that a process sets itself before it reads what others made.

#include "foundation/sandbox/sandbox.h"

#endif
