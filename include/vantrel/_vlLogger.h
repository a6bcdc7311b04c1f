// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_VLLOGGER_H
#define INCLUDE_VANTREL_VLLOGGER_H

/// \file
/// Public: a diagnostic log of the application's own.

#include "foundation/base/_vlLogger.h"

#endif
