// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_UTF8_H
#define INCLUDE_VANTREL_UTF8_H

/// \file
/// Public: UTF-8.

#include "foundation/text/utf8.h"

#endif
