// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSHTTP_H
#define INCLUDE_VANTREL_CLSHTTP_H

/// \file
/// Public: the connection to a time-stamp authority, or the application's own transport.

#include "foundation/io/ClsHttp.h"

#endif
