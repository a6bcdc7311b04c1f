// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_POLICY_H
#define INCLUDE_VANTREL_POLICY_H

/// \file
/// Public: by what a caller accepts signatures.

#include "dsig/trust/policy.h"

#endif
