// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_XSTRING_H
#define INCLUDE_VANTREL_XSTRING_H

/// \file
/// Public: a text in any of several encodings.

#include "foundation/text/XString.h"

#endif
