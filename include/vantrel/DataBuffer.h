// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_DATABUFFER_H
#define INCLUDE_VANTREL_DATABUFFER_H

/// \file
/// Public: bytes that grow.

#include "foundation/text/DataBuffer.h"

#endif
