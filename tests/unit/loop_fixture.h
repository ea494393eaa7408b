// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "unit/fixture.h"
#include "vxquilan/coap_dispatch.h"
#include "vxquilan/frame_vxquilan.h"

/** Replies to the gateway's requests, each a set time after the request went out. */
class ReplyingPlatform {
public:
    ReplyingPlatform() {
        fake::coap().on_send([this](const fake::SentRequest& request) { answer(request); });
    }

    void reply(const std::string& path, const std::string& text, double seconds = 0) {
        replies_[path] = {text, after_seconds(seconds)};
    }
    void fall_silent(const std::string& path) { replies_.erase(path); }

private:
    struct Reply {
        std::string text;
        fake::Microseconds delay;
    };

    void answer(const fake::SentRequest& request) const {
        const auto found = replies_.find(request.path);
        if (found == replies_.end())
            return;
        const std::string text = found->second.text;
        if (found->second.delay.count() == 0) {
            frame_coap_process(text.c_str()); // faster than the sender returns
            return;
        }
        fake::os().after(found->second.delay, [text] {
            if (g_run_flag == 1)
                frame_coap_process(text.c_str());
        });
    }

    std::map<std::string, Reply> replies_;
};

inline constexpr char kOkReply[] = R"({"errcode":0})";
inline constexpr char kTokenReply[] =
    R"({"errcode":0,"accessToken":"a","refreshToken":"r","timeOut":7200})";
inline constexpr char kActivateReply[] = R"({"errcode":0,"devId":"dev-9","secret":"s-9"})";

/** The main loop among fakes. */
class LoopTest : public DaemonTest {
protected:
    LoopTest() {
        fake::device().allow({"port_device_id_set", "port_device_secret_set",
                              "port_device_accesstoken_set", "port_device_refreshtoken_set",
                              "port_device_timeout_set", "port_device_firstguide_set",
                              "port_device_code_set", "vx_device_stainfo_get"});
    }

    /** Starts the loop, and has the first pass and its change of mode over, in `state`. */
    void run_in(int state, int count = 0) {
        loop.start();
        fake::coap().set_connect_result(-1);
        loop.pass();
        fake::coap().set_connect_result(0);
        fake::coap().open_session();
        g_quilan_status = state;
        g_app_count = count;
        g_coap_recvflag = 0;
        fake::os().reset();
        fake::log().reset();
        fake::journal().clear();
    }

    /** Passes until the state is left or `passes` are over. */
    void pass_while(int state, int passes = 20) {
        for (int pass = 0; pass < passes && g_quilan_status == state; ++pass)
            loop.pass();
    }

    /** Passes until `state` has been reached or `passes` are over. */
    void pass_until(int state, int passes = 50) {
        for (int pass = 0; pass < passes && g_quilan_status != state; ++pass)
            loop.pass();
        EXPECT_EQ(g_quilan_status, state);
    }

    vxq::AppLoop loop;
};
