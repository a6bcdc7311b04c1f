// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSSTRINGARRAY_H
#define INCLUDE_VANTREL_CLSSTRINGARRAY_H

/// \file
/// Public: a list of texts.

#include "foundation/base/ClsStringArray.h"

#endif
