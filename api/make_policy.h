// SPDX-License-Identifier: MIT
#ifndef API_MAKE_POLICY_H
#define API_MAKE_POLICY_H

#include "api/policy.h"
#include "dsig/trust/policy.h"

#include <memory>
#include <string>
#include <string_view>

// The one place that decides what a policy means: what it asks for without saying so, and what of
// it would be without effect. The tool, JSON and programs come here.
namespace vantrel::api {

// What is wrong with an option. Readers of options name it in their own form.
struct OptionFault {
    std::string_view option; // in camelCase
    std::string what;        // goes on behind the name
    std::string value;       // the value that is at fault; empty where that is not the matter
    std::string_view remedy; // in terms of the tool
};

// The fault as one line, for those who name options in camelCase.
[[nodiscard]] std::string faultText(const OptionFault& fault);

// `made` is null where nothing asks for acceptance. False, with `fault`, for a value that is none
// of its kind and for what would have no effect. Certificates and lists are shared.
[[nodiscard]] bool makePolicy(const Policy& asked, std::shared_ptr<const dsig::Policy>& made,
                              OptionFault& fault);

} // namespace vantrel::api

#endif
