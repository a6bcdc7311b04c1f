// SPDX-License-Identifier: MIT
#ifndef INCLUDE_VANTREL_KEY_FILE_H
#define INCLUDE_VANTREL_KEY_FILE_H

/// \file
/// Public: public keys from files of any usual form.

#include "foundation/keyfile/key_file.h"

#endif
