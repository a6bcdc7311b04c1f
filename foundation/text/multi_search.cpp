#include "foundation/text/multi_search.h"

#include "foundation/text/strings.h"

namespace vantrel::text {

void findAll(std::string_view text, std::span<const std::string_view> needles,
             std::span<std::size_t> found) {
    for (std::size_t i = 0; i < needles.size(); ++i) {
        found[i] = text::findText(text, needles[i]);
    }
}

} // namespace vantrel::text
