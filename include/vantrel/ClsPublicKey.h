// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSPUBLICKEY_H
#define INCLUDE_VANTREL_CLSPUBLICKEY_H

/// \file
/// Public: a public key.

#include "foundation/x509/keys/ClsPublicKey.h"

#endif
