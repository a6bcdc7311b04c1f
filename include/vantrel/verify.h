// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_VERIFY_H
#define INCLUDE_VANTREL_VERIFY_H

/// \file
/// Public: the typed interface, all of it.

#include "api/verify.h"

#endif
