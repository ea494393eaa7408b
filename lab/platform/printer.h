// SPDX-License-Identifier: MIT
#pragma once

#include "event.h"

#include <string>

namespace vxp {

/// One readable block for each message, one line for everything else, on standard output.
class Printer final : public EventSink {
public:
    void onEvent(const Event& event) override;
};

/// The text that stands for an event.
std::string renderEvent(const Event& event);

} // namespace vxp
