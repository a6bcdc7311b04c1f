// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_REFCOUNTEDOBJECT_H
#define INCLUDE_VANTREL_REFCOUNTEDOBJECT_H

/// \file
/// Public: objects that are shared by counting references.

#include "foundation/text/RefCountedObject.h"

#endif
