// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_DOCUMENT_ACCEPTANCE_H
#define INCLUDE_VANTREL_DOCUMENT_ACCEPTANCE_H

/// \file
/// Public, for static linking: what a policy says of a document, from what it says of its
/// signatures.

#include "api/document_acceptance.h"

#endif
