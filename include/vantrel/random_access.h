// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_RANDOM_ACCESS_H
#define INCLUDE_VANTREL_RANDOM_ACCESS_H

/// \file
/// Public: bytes that are read at any place: of a file, or in memory.

#include "foundation/io/random_access.h"

#endif
