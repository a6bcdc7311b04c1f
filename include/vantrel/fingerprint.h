// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_FINGERPRINT_H
#define INCLUDE_VANTREL_FINGERPRINT_H

/// \file
/// Public: how reports name files, keys and certificates.

#include "dsig/document/fingerprint.h"

#endif
