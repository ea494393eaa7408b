// SPDX-License-Identifier: MIT
#include "output.h"
#include "platform.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <exception>
#include <utility>

namespace {

/// The command line as texts; addresses are taken apart once everything is known.
struct Texts {
    std::string tcp;
    std::string tls;
    std::string faultTcp;
    std::string faultTls;
    std::string net;
};

void declare(CLI::App& app, vxp::Options& options, Texts& texts) {
    app.add_option("--tcp", texts.tcp,
                   "listen for CoAP over TCP on ADDRESS:PORT (default 127.0.0.1:5683 unless --tls "
                   "or --net is given); port 0 lets the system choose");
    app.add_option("--tls", texts.tls, "listen for CoAP over TLS on ADDRESS:PORT");
    app.add_option("--tls-dir", options.certificateFolder,
                   "folder of platform-cert.pem and platform-key.pem, made when missing")
        ->capture_default_str();
    app.add_option("--fault-tcp", texts.faultTcp,
                   "fault port: passes on to the TCP port, with the faults of the fault command");
    app.add_option("--fault-tls", texts.faultTls, "the same in front of the TLS port");
    app.add_option("--net", texts.net,
                   "serve the platform channel on ADDRESS, port 32768, or on ADDRESS:PORT");
    app.add_option("--frame-iv-fill", options.frameIvFill,
                   "the value of all bytes of the IV of the platform channel's frames")
        ->check(CLI::Range(0U, 255U))
        ->capture_default_str();
    app.add_option("--script", options.script, "run the commands of a file")->option_text("FILE");
    app.add_flag("--prompt", options.prompt,
                 "read commands from standard input (done anyway without --script and --serve)");
    app.add_flag("--serve", options.serve, "go on serving when there are no more commands");
    app.add_option("--journal", options.journal,
                   "write one JSON object a line for each event; - is standard output")
        ->option_text("FILE");
    app.add_flag("--quiet", options.quiet, "do not print messages and events");
    app.add_option("--bodies", options.bodies, "folder of the sample bodies")
        ->capture_default_str();
    app.add_option("--code", options.codes,
                   "a registration code that is accepted; may be repeated");
    app.add_option("--token-timeout", options.policy.tokenTimeout,
                   "\"timeOut\" of login and refresh replies, seconds")
        ->capture_default_str();
    app.add_flag("--check-token", options.policy.checkToken,
                 "refuse requests without a good access token with errcode 1006");
    app.add_option("--coap-log", options.libraryLogLevel,
                   "what libcoap itself logs to standard error, 0 to 7")
        ->check(CLI::Range(0, 7))
        ->capture_default_str();
    app.add_option("--max-message-size", options.maxMessageSize,
                   "Max-Message-Size that is announced, bytes")
        ->check(CLI::Range(1152U, 8U * 1024 * 1024))
        ->capture_default_str();
}

void takeAddress(std::optional<vxp::Address>& target, const char* option, const std::string& text) {
    if (text.empty()) {
        return;
    }
    try {
        target = vxp::parseAddress(text);
    } catch (const std::invalid_argument& error) {
        throw vxp::UsageError(fmt::format("{}: {}", option, error.what()));
    }
}

/// Gateways connect to one port; an address alone means that.
std::string withNetPort(const std::string& text) {
    const bool addressOnly =
        text.find('.') != std::string::npos && text.find(':') == std::string::npos;
    return addressOnly ? fmt::format("{}:{}", text, vxp::netPort) : text;
}

void complete(vxp::Options& options, const Texts& texts) {
    takeAddress(options.tls, "--tls", texts.tls);
    takeAddress(options.net, "--net", withNetPort(texts.net));
    const bool usualPort = texts.tcp.empty() && !options.tls && !options.net;
    takeAddress(options.tcp, "--tcp", usualPort ? "127.0.0.1:5683" : texts.tcp);
    takeAddress(options.faultTcp, "--fault-tcp", texts.faultTcp);
    takeAddress(options.faultTls, "--fault-tls", texts.faultTls);
    if (options.faultTcp && !options.tcp) {
        throw vxp::UsageError("--fault-tcp: there is no --tcp to pass on to");
    }
    if (options.faultTls && !options.tls) {
        throw vxp::UsageError("--fault-tls: there is no --tls to pass on to");
    }
    options.prompt = options.prompt || (options.script.empty() && !options.serve);
}

int run(int argc, char** argv) {
    CLI::App app("vxplatform: an emulator of the cloud platform that gateways connect to");
    vxp::Options options;
    options.bodies = VXPLATFORM_BODIES_DIR;
    options.frameIvFill = VXPLATFORM_FRAME_IV_FILL;
    Texts texts;
    declare(app, options, texts);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);
        }
        vxp::complain(fmt::format("vxplatform: {}\n", error.what()));
        return vxp::exitUsage;
    }
    complete(options, texts);
    vxp::Platform platform(std::move(options));
    return platform.run();
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const vxp::UsageError& error) {
        vxp::complain(fmt::format("{}\n", error.what()));
        return vxp::exitUsage;
    } catch (const std::exception& error) {
        vxp::complain(fmt::format("vxplatform: {}\n", error.what()));
        return vxp::exitUsage;
    }
}
