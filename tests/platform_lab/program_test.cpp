// SPDX-License-Identifier: MIT
#include "lab_session.h"

#include "text.h"

#include <sys/wait.h>

#include <csignal>
#include <cstdlib>

namespace vxp::test {
namespace {

class Program : public LabSession {
protected:
    /// Runs to the end without any input.
    int run(const std::vector<std::string>& arguments) {
        platform = std::make_unique<PlatformProcess>(arguments);
        platform->closeInput();
        return platform->wait();
    }

    /// Runs a script to the end.
    int runScript(const std::string& text) {
        return run({"--tcp", "127.0.0.1:0", "--script", folder.write("s.vxp", text)});
    }

    std::string script() const { return folder.file("s.vxp"); }
};

TEST_F(Program, BadArguments) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--bogus"}, "vxplatform: The following argument was not expected: --bogus\n"},
        {{"--tcp", "localhost:1"}, "--tcp: \"localhost:1\": no numeric address\n"},
        {{"--tls", "127.0.0.1:x"}, "--tls: \"127.0.0.1:x\": no port from 0 to 65535\n"},
        {{"--fault-tls", "0"}, "--fault-tls: there is no --tls to pass on to\n"},
        {{"--tls", "0", "--fault-tcp", "0"}, "--fault-tcp: there is no --tcp to pass on to\n"},
        {{"--tcp", "0", "--script", "no-such.vxp"}, "no-such.vxp: No such file or directory\n"},
        {{"--tcp", "0", "--journal", "/no/such"},
         "vxplatform: /no/such: No such file or directory\n"},
        {{"--tcp", "192.0.2.1:5683"},
         "vxplatform: 192.0.2.1:5683: cannot listen for tcp: Cannot assign requested address\n"},
    };
    for (const auto& [arguments, expected] : cases) {
        EXPECT_EQ(run(arguments), 2) << expected;
        EXPECT_EQ(platform->errors(), expected);
    }
}

TEST_F(Program, PortInUse) {
    start();
    const std::string port = std::to_string(platform->port("tcp"));
    const std::unique_ptr<PlatformProcess> first = std::move(platform);
    EXPECT_EQ(run({"--tcp", port}), 2);
    EXPECT_EQ(platform->errors(), "vxplatform: 127.0.0.1:" + port +
                                      ": cannot listen for tcp: Address already in use\n");
}

TEST_F(Program, BrokenCertificate) {
    (void)folder.write("platform-cert.pem", "x");
    (void)folder.write("platform-key.pem", "x");
    EXPECT_EQ(run({"--tls", "0", "--tls-dir", folder.file("")}), 2);
    EXPECT_NE(platform->errors().find("platform-key.pem: no PEM private key"), std::string::npos)
        << platform->errors();
}

TEST_F(Program, ScriptErrorsStopItBeforeItStarts) {
    EXPECT_EQ(runScript("echo a\nbogus\n"), 2);
    EXPECT_EQ(platform->errors(), script() + ":2: no such command: \"bogus\" (help lists them)\n");
    EXPECT_EQ(platform->otherOutput(), "");
}

TEST_F(Program, ScriptFailureStopsIt) {
    EXPECT_EQ(runScript("echo a\nassert count.login == 1\necho b\n"), 1);
    EXPECT_EQ(platform->errors(), script() + ":2: assert count.login == 1: it is 0\n");
    EXPECT_NE(platform->otherOutput().find("\na\n"), std::string::npos);
    EXPECT_EQ(platform->otherOutput().find("\nb\n"), std::string::npos);
}

TEST_F(Program, ScriptWaitTimesOut) {
    EXPECT_EQ(runScript("wait connect 30ms\n"), 1);
    EXPECT_EQ(platform->errors(), script() + ":1: no connect within 0.03 s\n");
}

TEST_F(Program, ScriptEndsWithItsStatus) {
    EXPECT_EQ(runScript("echo a\n"), 0);
    EXPECT_EQ(runScript("exit 7\necho b\n"), 7);
    EXPECT_EQ(platform->otherOutput().find("\nb\n"), std::string::npos);
}

TEST_F(Program, ScriptRunsAScriptBesideIt) {
    (void)folder.write("inner.vxp", "echo inner\nsleep x\n");
    EXPECT_EQ(runScript("echo outer\nrun inner.vxp\n"), 2);
    EXPECT_EQ(platform->errors(),
              script() + ":2: " + folder.file("inner.vxp") +
                  ":2: no time such as 300ms or 20s: \"x\"; usage: sleep TIME\n");
    (void)folder.write("inner.vxp", "echo inner\n");
    EXPECT_EQ(runScript("run inner.vxp\necho outer\n"), 0);
    const std::string& output = platform->otherOutput();
    EXPECT_LT(output.find("\ninner\n"), output.find("\nouter\n"));
    EXPECT_NE(output.find("\nouter\n"), std::string::npos);
}

TEST_F(Program, ScriptThatRunsItselfEnds) {
    EXPECT_EQ(runScript("run s.vxp\necho a\necho b\nexit\n"), 1);
    EXPECT_NE(platform->errors().find("does a script run itself"), std::string::npos);
}

TEST_F(Program, PromptGoesOnBehindErrors) {
    start();
    platform->command("bogus");
    platform->command("assert count.login == 1");
    platform->command("echo still here");
    platform->closeInput();
    EXPECT_EQ(platform->wait(), 1);
    EXPECT_EQ(platform->errors(), "prompt:1: no such command: \"bogus\" (help lists them)\n"
                                  "prompt:2: assert count.login == 1: it is 0\n");
    EXPECT_NE(platform->otherOutput().find("still here\n"), std::string::npos);
}

TEST_F(Program, GoesOnWhenNobodyReadsItsErrors) {
    start();
    platform->port("tcp");
    platform->closeErrors();
    platform->command("bogus");
    platform->command("echo still here");
    platform->closeInput();
    EXPECT_EQ(platform->wait(), 2);
    EXPECT_NE(platform->otherOutput().find("still here\n"), std::string::npos);
}

TEST_F(Program, EndsInOrderWhenItsLastErrorCannotBeTold) {
    for (const std::string arguments : {"--bogus", "--tcp 192.0.2.1:5683", "--tls 127.0.0.1:x"}) {
        const int status =
            std::system((VXPLATFORM_BINARY " " + arguments + " 2>/dev/full").c_str());
        ASSERT_TRUE(WIFEXITED(status)) << arguments;
        EXPECT_EQ(WEXITSTATUS(status), 2) << arguments;
    }
}

TEST_F(Program, GoesOnWhenNobodyReadsItsOutput) {
    const std::string file = folder.write("s.vxp", "echo " + std::string(3000, 'x') +
                                                       "\necho again\nhelp\nhelp\nhelp\nexit 7\n");
    const int status =
        std::system((VXPLATFORM_BINARY " --tcp 0 --script " + file + " >/dev/full").c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(Program, LastLineNeedsNoNewline) {
    platform = std::make_unique<PlatformProcess>(
        std::vector<std::string>{"--quiet", "--tcp", "127.0.0.1:0", "--script", "/dev/stdin"});
    platform->command("echo a\necho b");
    platform->closeInput();
    EXPECT_EQ(platform->wait(), 0);
    EXPECT_NE(platform->otherOutput().find("b\n"), std::string::npos);
}

TEST_F(Program, ServesBehindTheScriptUntilItIsStopped) {
    const std::string file = folder.write("s.vxp", "echo a\n");
    start({"--script", file, "--serve"});
    connect();
    EXPECT_EQ(registerGateway()["errcode"], 0);
    platform->signal(SIGTERM);
    EXPECT_EQ(platform->wait(), 0);
    EXPECT_EQ(platform->last("close")["by"], "platform");
}

TEST_F(Program, StoppedInsideAScriptIsNoSuccess) {
    start({"--script", folder.write("s.vxp", "wait connect 60s\n")});
    expectEvent("command", "wait");
    platform->signal(SIGINT);
    EXPECT_EQ(platform->wait(), 1);
    EXPECT_EQ(platform->errors(), "stopped while commands were still to be run\n");
}

TEST_F(Program, PromptBehindTheScript) {
    const std::string file = folder.write("s.vxp", "echo one\n");
    start({"--script", file, "--prompt"});
    platform->command("echo two");
    platform->closeInput();
    EXPECT_EQ(platform->wait(), 0);
    EXPECT_LT(platform->otherOutput().find("one\n"), platform->otherOutput().find("two\n"));
}

TEST_F(Program, ScriptDrivesAWholeCourse) {
    const std::string file = folder.write("s.vxp", R"(
set login errcode=5 times=1
wait register
wait activate
wait login
wait login
wait response:login
assert response:login.errcode == 5
wait response:login
assert response:login.errcode == 0
reboot trace-id="the trace"
wait answer:reboot
assert answer.errcode == 0
assert answer@trace-id == "the trace"
wait closed
exit 4
)");
    start({"--script", file});
    connect();
    registerGateway();
    const Json credentials = activate();
    EXPECT_EQ(login(credentials)["errcode"], 5);
    EXPECT_EQ(login(credentials)["errcode"], 0);
    until("request", [&] { return !gateway->requests.empty(); });
    expectEvent("answer", "reboot");
    gateway.reset();
    EXPECT_EQ(platform->wait(), 4) << platform->errors();
}

TEST_F(Program, PrintsBlocksUnlessQuiet) {
    platform = std::make_unique<PlatformProcess>(
        std::vector<std::string>{"--tcp", "127.0.0.1:0", "--journal", folder.file("journal")});
    std::uint16_t port = 0;
    until("address", [&] {
        const std::string& output = platform->otherOutput();
        constexpr std::string_view start = "listening tcp 127.0.0.1:";
        if (!output.starts_with(start) || output.find('\n') == std::string::npos) {
            return false;
        }
        const auto number = parseInteger(
            std::string_view(output).substr(start.size(), output.find('\n') - start.size()));
        port = static_cast<std::uint16_t>(number.value_or(0));
        return true;
    });
    gateway = std::make_unique<GatewayClient>(port, false);
    until("connection", [&] { return gateway->ready(); });
    gateway->post(".sys/register", R"({"mac":"M"})", nullptr);
    until("reply", [&] { return !gateway->replies.empty(); });
    EXPECT_EQ(finish(), 0);
    const std::string& output = platform->otherOutput();
    EXPECT_NE(output.find("gateway -> platform  #1 tcp  POST .sys/register\n"), std::string::npos)
        << output;
    EXPECT_NE(output.find("platform -> gateway  #1 tcp  2.05  (response to register)\n"),
              std::string::npos);
    EXPECT_NE(readFile(folder.file("journal")).find("\"event\":\"request\""), std::string::npos);
}

} // namespace
} // namespace vxp::test
