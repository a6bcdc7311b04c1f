// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSSTRINGBUILDER_H
#define INCLUDE_VANTREL_CLSSTRINGBUILDER_H

/// \file
/// Public: a text that grows.

#include "foundation/base/ClsStringBuilder.h"

#endif
