// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_REPORT_JSON_H
#define INCLUDE_VANTREL_REPORT_JSON_H

/// \file
/// Public: the JSON object of a document, around those of its signatures.

#include "api/report_json.h"

#endif
