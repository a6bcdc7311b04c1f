// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_MAKE_POLICY_H
#define INCLUDE_VANTREL_MAKE_POLICY_H

/// \file
/// Public, for static linking: what a policy asks for, and what is wrong with one.

#include "api/make_policy.h"

#endif
