// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_PACKAGE_RUN_H
#define INCLUDE_VANTREL_PACKAGE_RUN_H

/// \file
/// Public: the verification of packages, step by step.

#include "api/package_run.h"

#endif
