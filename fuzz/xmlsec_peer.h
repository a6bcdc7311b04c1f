// SPDX-License-Identifier: MIT
#ifndef FUZZ_XMLSEC_PEER_H
#define FUZZ_XMLSEC_PEER_H

#include <string>
#include <string_view>

namespace vantrel::fuzz {

// What another verifier says of a signature; Silent where it is not installed, or refuses the
// document or something that the signature asks for.
enum class PeerVerdict { Silent, Valid, Invalid };

// Of the signature with this index, by an HMAC secret. Nothing outside of the document is read.
[[nodiscard]] PeerVerdict verdictOfXmlsec(const std::string& document, int signature,
                                          std::string_view secret);

} // namespace vantrel::fuzz

#endif
