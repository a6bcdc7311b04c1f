// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_JSON_WRITER_H
#define INCLUDE_VANTREL_JSON_WRITER_H

/// \file
/// Public: JSON as text.

#include "foundation/json/json_writer.h"

#endif
