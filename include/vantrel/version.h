// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_VERSION_H
#define INCLUDE_VANTREL_VERSION_H

/** \file
    Public: the version, for C as well. */

#include "api/version.h"

#endif
