// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_VERIFICATION_H
#define INCLUDE_VANTREL_VERIFICATION_H

/// \file
/// Public: the steps of a verification, for those who report in a form of their own.

#include "api/verification.h"

#endif
