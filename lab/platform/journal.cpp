// SPDX-License-Identifier: MIT
#include "journal.h"

#include "output.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace vxp {

Json describeEvent(const Event& event) {
    Json line = Json::object();
    line["seq"] = event.number;
    const auto sinceEpoch = event.time.time_since_epoch();
    line["time"] = std::chrono::duration<double>(sinceEpoch).count();
    line["event"] = event.name;
    if (!event.topic.empty()) {
        line["name"] = event.topic;
    }
    if (event.connection != 0) {
        line["conn"] = event.connection;
        line["transport"] = event.transport;
    }
    if (event.direction != Direction::none) {
        line["dir"] = event.direction == Direction::fromGateway ? "in" : "out";
    }
    if (event.message) {
        line.update(describeMessage(*event.message));
    }
    line.update(event.details);
    return line;
}

void Journal::Closer::operator()(std::FILE* file) const {
    if (file != stdout) {
        std::fclose(file);
    }
}

Journal::Journal(const std::string& path)
    : m_file(path == "-" ? stdout : std::fopen(path.c_str(), "we")), m_path(path) {
    if (!m_file) {
        throw std::runtime_error(fmt::format("{}: {}", path, std::strerror(errno)));
    }
}

void Journal::onEvent(const Event& event) {
    const std::string line = printJson(describeEvent(event)) + "\n";
    const bool written = std::fwrite(line.data(), 1, line.size(), m_file.get()) == line.size();
    const bool flushed = std::fflush(m_file.get()) == 0;
    if ((!written || !flushed) && !m_failed) {
        m_failed = true;
        complain(fmt::format("{}: {}\n", m_path, std::strerror(errno)));
    }
}

} // namespace vxp
