// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_TRANSPORT_PROGRAM_H
#define FOUNDATION_IO_TRANSPORT_PROGRAM_H

#include "foundation/io/ClsHttp.h"

#include <string>

namespace vantrel::io {

// A transport that has a program carry out the request: how `https:` is reached, since there is no
// TLS here. The program is curl, or one that takes the same arguments: it gets the request
// on its standard input, writes the answer to its standard output, and ends with another code than
// 0 when there is none or the server refused (curl's --fail). A name without a slash is looked for
// in PATH; no shell is asked. A program that does not end in time is killed.
[[nodiscard]] HttpTransport transportBy(const std::string& program);

} // namespace vantrel::io

#endif
