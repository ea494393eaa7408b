// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include <coap3/coap.h>

#include "appjsonapi/app_errcode.h"
#include "appjsonapi/request_body.h"
#include "text/text.h"
#include "json/json.h"

/**
 * @file
 * What the handlers of the gateway's resources have in common. Each turns one request into at most
 * one change or one question to the device library and answers with one JSON document, always as
 * 2.05: success and failure are told by "errcode" alone. All of it runs on the CoAP receive thread,
 * behind libcoap's processing.
 *
 * A request that libcoap still hands out after the session has ended has no effect and no answer.
 */
namespace vxq {

/** Answers a request with a document; one that could not be built is not sent. */
void answer_request(const coap_pdu_t* request, const JsonText& document);

/**
 * An action without parameters: says so in the log, acknowledges the request and only then acts, so
 * that the platform has its answer even when the action ends the session. The request's body is
 * not read, and the action's result is not reported.
 *
 * @param action  the device library's action; null for a resource that only acknowledges
 * @return false when the session has ended and nothing was done
 */
bool serve_action(const coap_session_t* session, const coap_pdu_t* request, const char* path,
                  int (*action)());

/** A question: answers with the document that `build` returns. The request's body is not read. */
void serve_status(const coap_session_t* session, const coap_pdu_t* request, const char* path,
                  JsonText (*build)());

/** Carries out one request; returns the "errcode", and unless that is 0, the "ID" in `path`. */
using SettingsChange = int (*)(const RequestBody& body, ParameterPath& path);

/**
 * A change of settings: announces it in the log, carries it out and answers with the result.
 *
 * @param verb  what the log line says in front of the path
 */
void serve_settings(const coap_session_t* session, const coap_pdu_t* request, const char* verb,
                    const char* path, SettingsChange change);

/** A clash with another network, as the platform is told it. */
struct ClashMessage {
    int code; ///< the device library's
    const char* message;
};

/** How one kind of settings is read, checked and applied. */
template <class Record>
struct Settings {
    int (*parse)(const RequestBody&, Record&, ParameterPath&);
    int (*apply)(const Record*);
    const char* object;                    ///< reported when they cannot be applied
    int (*check)(const Record*) = nullptr; ///< non-zero for a clash; null: nothing to clash with
    std::span<const ClashMessage> clashes = {};
};

/** Writes the message for a clash; one without a message leaves the path as it is. */
void write_clash(std::span<const ClashMessage> clashes, int code, ParameterPath& path);

/** Reads, checks and applies settings; a SettingsChange but for the first argument. */
template <class Record>
int change_settings(const Settings<Record>& settings, const RequestBody& body,
                    ParameterPath& path) {
    Record record{};
    if (settings.parse(body, record, path) != 0)
        return kGatewayParseFailure;
    const int clash = settings.check != nullptr ? settings.check(&record) : 0;
    if (clash != 0) {
        write_clash(settings.clashes, clash, path);
        return kGatewayClash;
    }
    const int result = settings.apply(&record);
    if (result != 0)
        copy_text(path, settings.object);
    return result;
}

} // namespace vxq
