// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_FILES_H
#define INCLUDE_VANTREL_FILES_H

/// \file
/// Public: reading and writing whole files.

#include "foundation/io/files.h"

#endif
