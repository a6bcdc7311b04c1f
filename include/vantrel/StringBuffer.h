// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_STRINGBUFFER_H
#define INCLUDE_VANTREL_STRINGBUFFER_H

/// \file
/// Public: UTF-8 text that grows.

#include "foundation/text/StringBuffer.h"

#endif
