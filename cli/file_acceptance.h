#ifndef CLI_FILE_ACCEPTANCE_H
#define CLI_FILE_ACCEPTANCE_H

#include <vantrel/json_writer.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::cli {

// Whether a file is accepted by the caller's policy, from what was found of its signatures.
class FileAcceptance final {
public:
    // Takes what ClsXmlDSig::LastAcceptance says of one signature. False when that is no such
    // object.
    [[nodiscard]] bool add(std::string_view json);
    // Whether all signatures are accepted, with `any` whether one is. Without a signature nothing
    // is.
    [[nodiscard]] bool holds(bool any) const noexcept {
        return m_accepted > 0 && (any || m_accepted == m_signatures);
    }
    // The members `accepted` and `refusals` of the file's object. `refusals` has the codes of all
    // signatures, each once; none where the file is accepted.
    void write(bool accepted, json::JsonWriter& out) const;
    void clear() noexcept { *this = FileAcceptance(); }

private:
    std::size_t m_signatures = 0;
    std::size_t m_accepted = 0;
    std::vector<std::string> m_refusals;
};

} // namespace vantrel::cli

#endif
