#ifndef INCLUDE_VANTREL_VLHASH_H
#define INCLUDE_VANTREL_VLHASH_H

/// \file
/// Public: hashes of bytes and streams, by algorithm identifier.

#include "foundation/crypto/hash/_vlHash.h"

#endif
