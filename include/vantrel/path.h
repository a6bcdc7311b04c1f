// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_PATH_H
#define INCLUDE_VANTREL_PATH_H

/// \file
/// Public: certification paths.

#include "foundation/x509/path/path_material.h"
#include "foundation/x509/path/path_query.h"
#include "foundation/x509/path/path_report.h"
#include "foundation/x509/path/path_words.h"

#endif
