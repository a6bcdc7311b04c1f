// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSXMLDSIG_H
#define INCLUDE_VANTREL_CLSXMLDSIG_H

/// \file
/// Public: the verifier.

#include "dsig/object/ClsXmlDSig.h"

#endif
