// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_BYTE_VIEW_H
#define INCLUDE_VANTREL_BYTE_VIEW_H

/// \file
/// Public: views on bytes that somebody else owns.

#include "foundation/text/byte_view.h"

#endif
