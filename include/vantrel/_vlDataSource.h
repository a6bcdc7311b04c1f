// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_VLDATASOURCE_H
#define INCLUDE_VANTREL_VLDATASOURCE_H

/// \file
/// Public: sources of bytes.

#include "foundation/io/_vlDataSource.h"

#endif
