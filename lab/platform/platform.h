// SPDX-License-Identifier: MIT
#pragma once

#include "app_channel.h"
#include "journal.h"
#include "net_channel.h"
#include "printer.h"
#include "recorder.h"
#include "relay.h"
#include "script.h"
#include "timers.h"

#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vxp {

/// What the command line says.
struct Options {
    std::optional<Address> tcp;
    std::optional<Address> tls;
    std::optional<Address> faultTcp; ///< fault port in front of the TCP port
    std::optional<Address> faultTls; ///< fault port in front of the TLS port
    std::optional<Address> net;      ///< the platform channel
    unsigned frameIvFill = 0;        ///< the value of all bytes of its frames' IV
    std::string certificateFolder = "vxplatform-tls";
    std::string script;
    std::string journal;
    std::string bodies; ///< folder of the sample bodies
    bool quiet = false;
    bool prompt = false; ///< read commands from standard input
    bool serve = false;  ///< go on when there are no more commands
    std::uint32_t maxMessageSize = 8U * 1024 * 1024;
    int libraryLogLevel = 3; ///< 0 (hardly anything) to 7 (everything)
    Policy policy;
    std::vector<std::string> codes;
};

enum ExitStatus : int {
    exitSuccess = 0,
    exitFailed = 1, ///< a wait or an assertion failed
    exitUsage = 2,  ///< an argument, a file or a command is wrong
};

/**
 * The emulator: the channels, the commands and the event loop around them.
 *
 * Everything runs on the thread that calls run; nothing in here is to be used from another.
 */
class Platform {
public:
    /// @throws std::runtime_error or UsageError with the reason when it can't start
    explicit Platform(Options options);
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform();

    /// Serves until the commands are through, `exit`, SIGINT or SIGTERM.
    /// @return the process's exit status
    int run();

    Recorder& recorder() { return m_recorder; }
    AppChannel& app() { return *m_app; }
    /// @throws StepFailed when the platform channel is not served
    NetChannel& net();
    [[nodiscard]] bool hasNet() const { return m_net != nullptr; }
    std::vector<std::unique_ptr<Relay>>& relays() { return m_relays; }
    ScriptRunner& runner() { return m_runner; }
    [[nodiscard]] const Options& options() const { return m_options; }

    /// Opens all listening sockets, or closes them with every connection.
    void accept();
    void refuse();

    /// Ends the event loop; without a status with that of the failures so far.
    void exit(std::optional<int> status);
    [[nodiscard]] bool exiting() const { return m_exiting; }

    /// A line on standard output.
    void print(std::string_view text);

    void noteCommand(const ScriptLine& line);

private:
    void createRelays();
    void blockSignals();
    void step();
    void advance();
    void fail(const std::string& reason, int status);
    void showPrompt();
    void readPrompt();
    bool takePromptLine();
    [[nodiscard]] bool promptOpen() const { return m_promptDescriptor >= 0; }
    [[nodiscard]] bool promptReady() const;
    int pollTimeout(int libraryTimeout) const;

    Options m_options;
    Recorder m_recorder;
    Timers m_timers;
    Printer m_printer;
    std::unique_ptr<Journal> m_journal;
    ScriptRunner m_runner;
    std::unique_ptr<AppChannel> m_app;
    std::vector<std::unique_ptr<Relay>> m_relays;
    std::unique_ptr<NetChannel> m_net;
    std::string m_promptInput;
    int m_promptDescriptor = -1;
    int m_promptLine = 0;
    bool m_terminal = false;
    bool m_prompted = false;
    bool m_exiting = false;
    int m_status = exitSuccess;
    sigset_t m_waitMask{};
};

} // namespace vxp
