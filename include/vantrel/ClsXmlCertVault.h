// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSXMLCERTVAULT_H
#define INCLUDE_VANTREL_CLSXMLCERTVAULT_H

/// \file
/// Public: certificates to look in.

#include "foundation/x509/ClsXmlCertVault.h"

#endif
