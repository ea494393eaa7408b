// SPDX-License-Identifier: MIT
#pragma once

/**
 * @file How long a gateway may stay away after a fault: sums of the waits that the protocol has it
 * keep, in seconds. Nothing here is measured; what a machine needs beyond the waits is kMachine.
 */
namespace netfaults {

// ---- The waits themselves.

/** A request's reply is waited for this long; the heartbeat thread always sleeps it out. */
constexpr double kReply = 10;
/** From one answered heartbeat to the next. */
constexpr double kHeartbeat = 50;
/** Heartbeats in a row without a reply that end a session. */
constexpr double kUnanswered = 4;
/** Logins on one connection. */
constexpr double kLogins = 6;
/** A connect that failed is repeated after this. */
constexpr double kRetry = 5;
/** Loops and threads look for changes once a second; each look may be this late. */
constexpr double kLook = 1;
/** The platform channel: heartbeats, the grace after one, and the loop's sleep once it is up. */
constexpr double kNetHeartbeat = 5;
constexpr double kNetGrace = 15;
constexpr double kNetIdle = 10;
/** Before and behind the registration there. */
constexpr double kNetRegistration = 1 + 1;
/** Its receive thread waits this long for a frame before it looks whether it is to end. */
constexpr double kNetReceive = 5;
/** The C library's resolver: two tries of 5 s when the name server is silent. */
constexpr double kResolver = 2 * 5;

/** No wait: processes, handshakes and exchanges on a machine that does other things, too. */
constexpr double kMachine = 2;

// ---- What they add up to, from the moment that the platform can be reached.

/** A login's reply is noticed by the next look. The others move the state on at once. */
constexpr double kGoOnline = kLook + kMachine;
/** An ended session: its heartbeat thread wakes up, the loop looks whether it has. */
constexpr double kReplaced = kReply + kLook + kLook + kGoOnline;
/** A connect that came to nothing: noticed by the next look, then repeated after the pause. */
constexpr double kRefused = kLook + kRetry + kLook + kGoOnline;
/** In the strict build, whose pause has a share of chance. */
constexpr double kRefusedStrict = kRefused + kRetry;
/** A connection on which nothing is answered from the start: all of its logins, then the next. */
constexpr double kSilentLogin = kLogins * kReply + kLook + kLook + kGoOnline;
/** An online session that falls silent: up to the next heartbeat, then four in vain. */
constexpr double kSilentSession =
    kHeartbeat + kLook + kUnanswered * kReply + kLook + kLook + kGoOnline;
/** The same while a heartbeat's reply is awaited: this one is the first in vain. */
constexpr double kSilentHeartbeat = kUnanswered * kReply + kLook + kLook + kGoOnline;
/** A session whose other end is gone: the next heartbeat is answered by a reset. */
constexpr double kHalfOpen = kHeartbeat + kLook + kReplaced;
/** A name that could not be resolved; and with a name server that says nothing. */
constexpr double kNoAddress = kRetry + kGoOnline;
constexpr double kNoNameServer = kResolver + kNoAddress;
/** A name server that takes that long, below the resolver's patience. */
constexpr double kSlowAnswer = 4;
constexpr double kSlowName = kReplaced + kSlowAnswer;
/**
 * A far platform: the end of the old session has half a round trip to go, then come connect,
 * announcements, login and device information with one each; the heartbeat is half one. TLS 1.3
 * adds one.
 */
constexpr double kLatency = 2; // each way
constexpr double kFar = kReplaced + 5 * 2 * kLatency;
constexpr double kFarTls = kFar + 2 * kLatency;
/** A link that loses packets: TCP repeats them, but all logins of a connection may be needed. */
constexpr double kLossy = kReplaced + kSilentLogin;
/** Bytes of a course at one each few milliseconds. */
constexpr double kSpacing = 0.002;
constexpr double kBytewise = kReplaced + 4000 * kSpacing;
/** A session that is not given up must have answered before it would count as silent. */
constexpr double kKept = kUnanswered * kReply;
/** Nothing was lost: the answer comes as to any request. */
constexpr double kNoLoss = kReply;

/** The platform channel, lost before it was registered: it begins again at once. */
constexpr double kNetNegotiation = kNetRegistration + kMachine;
/**
 * The platform channel, online: the heartbeat thread finds out by the next heartbeat, or by the
 * grace after one; the loop sleeps; the receive thread ends; the loop looks; a new registration.
 */
constexpr double kNetLost =
    kNetHeartbeat + kNetGrace + kNetIdle + kLook + kNetRegistration + kMachine;
constexpr double kNetSilent = kNetHeartbeat + kNetLost + kNetReceive;

} // namespace netfaults
