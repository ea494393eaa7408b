// SPDX-License-Identifier: MIT
#pragma once

#include "event.h"

#include <cstdio>
#include <memory>
#include <string>

namespace vxp {

/// @return the event as the journal has it: one object
Json describeEvent(const Event& event);

/// One JSON object a line for each event, flushed at once, so that a test can follow the file.
class Journal final : public EventSink {
public:
    /**
     * Starts a new file; an old one of that name is emptied.
     *
     * @param path "-" stands for standard output
     * @throws std::runtime_error naming the file when it cannot be written
     */
    explicit Journal(const std::string& path);

    void onEvent(const Event& event) override;

private:
    struct Closer {
        void operator()(std::FILE* file) const;
    };
    std::unique_ptr<std::FILE, Closer> m_file;
    bool m_failed = false;
    std::string m_path;
};

} // namespace vxp
