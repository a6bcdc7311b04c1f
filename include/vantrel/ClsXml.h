// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_CLSXML_H
#define INCLUDE_VANTREL_CLSXML_H

/// \file
/// Public: an element tree.

#include "foundation/xml/tree/ClsXml.h"

#endif
