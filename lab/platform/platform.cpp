// SPDX-License-Identifier: MIT
#include "platform.h"

#include "certificate.h"
#include "output.h"
#include "text.h"

#include <fmt/format.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace vxp {

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int) {
    stopRequested = 1;
}

/// Where the sockets are, in a form that scripts can read; shown even when nothing else is.
class AddressPrinter final : public EventSink {
public:
    void onEvent(const Event& event) override {
        if (event.name == "listening") {
            say(fmt::format("listening {} {}\n", event.details["transport"].get<std::string>(),
                            event.details["address"].get<std::string>()));
        }
    }
};

AddressPrinter addressPrinter;

ServerSettings serverSettings(const Options& options) {
    ServerSettings settings;
    settings.tcp = options.tcp;
    settings.tls = options.tls;
    settings.maxMessageSize = options.maxMessageSize;
    settings.libraryLogLevel = static_cast<coap_log_t>(options.libraryLogLevel);
    if (options.tls) {
        settings.certificate = prepareCertificate(options.certificateFolder);
    }
    return settings;
}

} // namespace

Platform::Platform(Options options) : m_options(std::move(options)) {
    std::signal(SIGPIPE, SIG_IGN);
    m_recorder.addSink(addressPrinter);
    if (!m_options.journal.empty()) {
        m_journal = std::make_unique<Journal>(m_options.journal);
        m_recorder.addSink(*m_journal);
    }
    if (!m_options.quiet) {
        m_recorder.addSink(m_printer);
    }
    if (!m_options.script.empty()) {
        m_runner.append(loadScript(m_options.script));
    }
    m_app = std::make_unique<AppChannel>(serverSettings(m_options), m_recorder, m_timers);
    m_app->policy() = m_options.policy;
    m_app->registry().codes().insert(m_options.codes.begin(), m_options.codes.end());
    createRelays();
    if (m_options.net) {
        const auto ivFill = static_cast<unsigned char>(m_options.frameIvFill);
        m_net =
            std::make_unique<NetChannel>(NetSettings{*m_options.net, ivFill}, m_recorder, m_timers);
    }
    m_app->describePeer = [this](const Address& peer) -> std::string {
        for (const auto& relay : m_relays) {
            if (relay->owns(peer)) {
                return relay->name();
            }
        }
        return {};
    };
    if (m_options.prompt) {
        m_promptDescriptor = STDIN_FILENO;
        m_terminal = ::isatty(STDIN_FILENO) == 1;
    }
    blockSignals();
    accept();
}

Platform::~Platform() = default;

void Platform::createRelays() {
    const auto create = [&](const std::optional<Address>& listen, std::string name, bool framed) {
        if (listen) {
            m_relays.push_back(
                std::make_unique<Relay>(std::move(name), *listen, framed, m_recorder));
        }
    };
    create(m_options.faultTcp, "fault-tcp", true);
    create(m_options.faultTls, "fault-tls", false);
}

void Platform::blockSignals() {
    struct sigaction action {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigset_t blocked;
    sigemptyset(&blocked);
    for (const int number : {SIGINT, SIGTERM}) {
        ::sigaction(number, &action, nullptr);
        sigaddset(&blocked, number);
    }
    // They are let in while waiting only, so that none slips between the check and the wait.
    ::pthread_sigmask(SIG_BLOCK, &blocked, &m_waitMask);
    sigdelset(&m_waitMask, SIGINT);
    sigdelset(&m_waitMask, SIGTERM);
}

void Platform::accept() {
    m_app->listen();
    for (const auto& relay : m_relays) {
        const Transport transport = relay->framed() ? Transport::tcp : Transport::tls;
        relay->open(*m_app->server().address(transport));
    }
    if (m_net) {
        m_net->listen();
    }
}

NetChannel& Platform::net() {
    if (!m_net) {
        throw StepFailed("there is no platform channel (see --net)");
    }
    return *m_net;
}

void Platform::refuse() {
    if (m_net) {
        m_net->refuse();
    }
    for (const auto& relay : m_relays) {
        relay->close();
    }
    m_app->server().refuse();
}

void Platform::exit(std::optional<int> status) {
    m_exiting = true;
    m_status = status.value_or(m_status);
}

void Platform::print(std::string_view text) {
    say(fmt::format("{}\n", text));
}

void Platform::noteCommand(const ScriptLine& line) {
    Event command;
    command.name = "command";
    command.topic = line.text.substr(0, line.text.find_first_of(" \t"));
    command.details["place"] = line.place();
    command.details["line"] = line.text;
    m_recorder.record(std::move(command));
}

int Platform::run() {
    while (!m_exiting && stopRequested == 0) {
        step();
    }
    if (!m_exiting && !m_runner.idle()) {
        fail("stopped while commands were still to be run", exitFailed);
    }
    if (m_net) {
        m_net->refuse(); // so that its connections are told to have ended
    }
    return m_status;
}

void Platform::step() {
    advance();
    if (m_exiting) {
        return;
    }
    std::vector<pollfd> descriptors{{m_app->server().descriptor(), POLLIN, 0},
                                    {promptReady() ? m_promptDescriptor : -1, POLLIN, 0}};
    for (const auto& relay : m_relays) {
        relay->fillPoll(descriptors);
    }
    if (m_net) {
        m_net->fillPoll(descriptors);
    }
    const int timeout = pollTimeout(m_app->server().prepare());
    const timespec limit{timeout / 1000, timeout % 1000 * 1000000L};
    const int ready = ::ppoll(descriptors.data(), static_cast<nfds_t>(descriptors.size()),
                              timeout < 0 ? nullptr : &limit, &m_waitMask);
    if (ready < 0) {
        if (errno != EINTR) {
            throw std::runtime_error(fmt::format("ppoll: {}", std::strerror(errno)));
        }
        return;
    }
    m_app->server().process();
    for (const auto& relay : m_relays) {
        relay->process(descriptors);
    }
    if (m_net) {
        m_net->process(descriptors);
    }
    m_timers.run(Clock::now());
    if (descriptors[1].revents != 0) {
        readPrompt();
    }
}

/// Runs what can be run; ends the program when that was all there is.
void Platform::advance() {
    do {
        try {
            m_runner.advance(*this);
        } catch (const UsageError& error) {
            fail(error.what(), exitUsage);
        } catch (const StepFailed& error) {
            fail(error.what(), exitFailed);
        }
    } while (!m_exiting && m_runner.idle() && takePromptLine());
    if (m_exiting || !m_runner.idle()) {
        return;
    }
    if (promptOpen()) {
        showPrompt();
    } else if (!m_options.serve) {
        m_exiting = true; // with the status of what was run
    }
}

/// In a script the first failure is the last; at the prompt somebody can go on from there.
void Platform::fail(const std::string& reason, int status) {
    complain(fmt::format("{}\n", reason));
    Event error;
    error.name = "error";
    error.details["reason"] = reason;
    m_recorder.record(std::move(error));
    m_runner.abandonScripts();
    const bool typed = m_promptLine > 0;
    if (!typed || !m_terminal) {
        m_status = status;
    }
    m_exiting = m_exiting || !typed;
}

int Platform::pollTimeout(int libraryTimeout) const {
    const Clock::time_point next = std::min(m_timers.next(), m_runner.deadline());
    if (next == Clock::time_point::max()) {
        return libraryTimeout;
    }
    constexpr long long anHour = 3600LL * 1000;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    const int timeout = static_cast<int>(std::clamp<long long>(left, 0, anHour));
    return libraryTimeout < 0 ? timeout : std::min(timeout, libraryTimeout);
}

/// Commands are taken one at a time: those behind a wait stay where they are until it is over.
bool Platform::promptReady() const {
    return promptOpen() && m_runner.idle();
}

void Platform::showPrompt() {
    if (m_terminal && !m_prompted) {
        say("vxplatform> ");
        m_prompted = true;
    }
}

void Platform::readPrompt() {
    char buffer[4096];
    const ssize_t count = ::read(m_promptDescriptor, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return;
    }
    m_prompted = false;
    if (count > 0) {
        m_promptInput.append(buffer, static_cast<std::size_t>(count));
        return;
    }
    m_promptDescriptor = -1;
    if (!m_promptInput.empty()) {
        m_promptInput += '\n';
    }
}

/// @return whether there was a complete line
bool Platform::takePromptLine() {
    const std::size_t end = m_promptInput.find('\n');
    if (end == std::string::npos) {
        return false;
    }
    const std::string line = m_promptInput.substr(0, end);
    m_promptInput.erase(0, end + 1);
    ++m_promptLine;
    try {
        m_runner.append(parseScript(std::string(promptSource), line, "", m_promptLine));
    } catch (const UsageError& error) {
        fail(error.what(), exitUsage);
    }
    return true;
}

} // namespace vxp
