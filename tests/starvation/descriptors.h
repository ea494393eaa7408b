// SPDX-License-Identifier: MIT
#pragma once

#include <sys/resource.h>

/** @file A process that has no descriptors left. */
namespace starvation {

/** While the object lives, only so many more can be opened. */
class FewDescriptors {
public:
    explicit FewDescriptors(int left);
    ~FewDescriptors();
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
    rlimit before_{};
};

} // namespace starvation
