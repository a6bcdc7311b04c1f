// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_VANTRELOBJECT_H
#define FOUNDATION_TEXT_VANTRELOBJECT_H

namespace vantrel {

// Root of every class whose objects an array owns through a base pointer.
class VantrelObject {
public:
    VantrelObject() noexcept = default;
    VantrelObject(const VantrelObject&) noexcept = default;
    VantrelObject& operator=(const VantrelObject&) noexcept = default;
    virtual ~VantrelObject() = default;
};

} // namespace vantrel

#endif
