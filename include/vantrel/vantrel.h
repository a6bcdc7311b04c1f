// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_VANTREL_H
#define INCLUDE_VANTREL_VANTREL_H

/** \file
    Public: the interface for C and, through it, for other languages. */

#include "bindings/c/vantrel.h"

#endif
