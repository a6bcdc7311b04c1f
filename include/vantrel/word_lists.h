// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_WORD_LISTS_H
#define INCLUDE_VANTREL_WORD_LISTS_H

/// \file
/// Public, for static linking: lists of words, and which of them a slip was meant to be.

#include "foundation/text/word_lists.h"

#endif
