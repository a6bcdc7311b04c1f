// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_TRANSPORT_PROGRAM_H
#define INCLUDE_VANTREL_TRANSPORT_PROGRAM_H

/// \file
/// Public: reaching https: through a program such as curl.

#include "foundation/io/transport_program.h"

#endif
