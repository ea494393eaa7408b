// SPDX-License-Identifier: MIT
// Every row of the table of libcoap's events.
#include "unit/fixture.h"

#include "vxquilan/coap_events.h"

using fake::Source;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

struct EventCase {
    const char* name;
    int event;
    Texts journal; ///< after the line that every event gets
    bool ends_session;
};

void PrintTo(const EventCase& row, std::ostream* out) {
    *out << row.name;
}

const EventCase kEvents[] = {
    {"DtlsClosed", 0, {"6 event_handler # dtls disconnect from app\n"}, false},
    {"TcpClosed",
     4098,
     {"6 event_handler # tcp disconnect from app\n",
      "6 frame_coap_event_close #:frame_coap_event_close\n", "frame_coap_close()"},
     true},
    {"TcpFailed",
     4099,
     {"6 frame_coap_event_close #:frame_coap_event_close\n", "frame_coap_close()"},
     true},
    {"SessionClosed", 8194, {}, false},
    {"DtlsConnected", 0x01DE, {}, false},
    {"DtlsRenegotiate", 0x01DF, {}, false},
    {"DtlsError", 0x0200, {}, false},
    {"TcpConnected", 4097, {}, false},
    {"SessionConnected", 8193, {}, false},
    {"SessionFailed", 8195, {}, false},
    {"PartialBlock", 12289, {}, false},
    {"Unknown", 4100, {}, false},
    {"Unknown2", 77, {}, false},
};

class Event : public SessionTest, public testing::WithParamInterface<EventCase> {};

TEST_P(Event, HasExactlyItsEffects) {
    for (const int state : {9, 10, 11, 12, 13, 14, 15, 16}) {
        fake::coap().open_session();
        fake::journal().clear();
        g_quilan_status = state;
        g_app_count = 2;
        g_coap_recvflag = 0;
        EXPECT_EQ(event_handler(g_coap_session, static_cast<coap_event_t>(GetParam().event)), 0);

        Texts expected{"4 event_handler # event " + std::to_string(GetParam().event) + "\n"};
        expected.insert(expected.end(), GetParam().journal.begin(), GetParam().journal.end());
        EXPECT_THAT(fake::journal().calls(
                        {Source::log, Source::coap, Source::os, Source::device, Source::sleep}),
                    ElementsAreArray(expected));
        EXPECT_EQ(g_quilan_status, GetParam().ends_session ? 9 : state);
        EXPECT_EQ(g_run_flag, GetParam().ends_session ? 0 : 1);
        EXPECT_EQ(g_app_count, 2);
        EXPECT_EQ(g_coap_recvflag, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Event, testing::ValuesIn(kEvents), case_name<EventCase>);

/** The receive thread's loop is told before the session goes, and the state last. */
TEST_F(SessionTest, ALostConnectionStopsTheReceiveLoopThenClosesThenReconnects) {
    for (const int event : {4098, 4099}) {
        fake::coap().open_session();
        g_quilan_status = 16;
        int closes = 0;
        fake::coap().on_close([&closes] {
            ++closes;
            EXPECT_EQ(g_run_flag, 0);
            EXPECT_EQ(g_quilan_status, 16);
        });
        event_handler(g_coap_session, static_cast<coap_event_t>(event));
        EXPECT_EQ(closes, 1);
        EXPECT_EQ(g_quilan_status, 9);
    }
}

TEST_F(SessionTest, EventCloseWorksWithoutASession) {
    fake::coap().reset();
    g_quilan_status = 14;
    frame_coap_event_close();
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_THAT(fake::journal().deeds(), ElementsAre("frame_coap_close()"));
}

} // namespace
