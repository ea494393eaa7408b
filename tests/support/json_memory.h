// SPDX-License-Identifier: MIT
#pragma once

/** Counts what cJSON has allocated and can refuse it. One at a time. */
class JsonMemory {
public:
    JsonMemory();
    ~JsonMemory();
    JsonMemory(const JsonMemory&) = delete;
    JsonMemory& operator=(const JsonMemory&) = delete;

    /** The request with this number from now on, counted from 0, is refused. */
    void refuse(long request);
    /** That request and all after it are refused. */
    void refuse_from(long request);
    /** No further request is refused. */
    void refuse_none();
    /** True when a request has been refused since the last of these calls. */
    [[nodiscard]] bool refused() const;
    /** Blocks that haven't been freed. */
    [[nodiscard]] long in_use() const;
};
