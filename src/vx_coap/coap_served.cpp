// SPDX-License-Identifier: MIT
#include "vx_coap/coap_served.h"

#include <cassert>
#include <cstring>
#include <memory>

#include "log/log.h"
#include "vx_coap/coap_inbox.h"
#include "vx_coap/coap_lock.h"
#include "vx_coap/frame_coap.h"

namespace vxq {

namespace {

constexpr int kCapacity = 32;
constexpr char kWellKnown[] = ".well-known/core";

struct Served {
    coap_resource_t* resource;
    coap_method_handler_t get;
    coap_method_handler_t post;
};

Served s_served[kCapacity];
int s_served_count = 0;
coap_resource_t* s_well_known = nullptr;

struct DeletePath {
    void operator()(coap_str_const_t* path) const { coap_delete_str_const(path); }
};
using Path = std::unique_ptr<coap_str_const_t, DeletePath>;

/** Adds a resource without handlers; null when there is no memory for it. */
coap_resource_t* add_resource(const char* path) {
    // libcoap's own copy of the path may fail, which it does not notice before it uses it.
    Path name(coap_new_str_const(reinterpret_cast<const std::uint8_t*>(path), std::strlen(path)));
    coap_resource_t* const resource =
        name ? coap_resource_init(name.get(), COAP_RESOURCE_FLAGS_RELEASE_URI) : nullptr;
    if (resource == nullptr)
        return nullptr;
    static_cast<void>(name.release()); // the resource's now
    coap_add_resource(g_coap_ctx, resource);
    return resource;
}

/** All that happens inside libcoap: the request is kept, or refused when there is no room. */
void keep_request(coap_resource_t* resource, coap_session_t* session, const coap_pdu_t* request,
                  const coap_string_t*, coap_pdu_t* response) {
    if (inbox_keep(session, resource, request))
        return;
    QUILAN_LOG(VX_LOG_ERROR, "no room for a request, refused\n");
    coap_pdu_set_code(response, COAP_RESPONSE_CODE_SERVICE_UNAVAILABLE);
}

bool refuse_resource(const char* path) {
    QUILAN_LOG(VX_LOG_ERROR, "no room for resource %s\n", path);
    return false;
}

void open_resource(const Served& served) {
    if (served.get != nullptr)
        coap_register_request_handler(served.resource, COAP_REQUEST_GET, keep_request);
    if (served.post != nullptr)
        coap_register_request_handler(served.resource, COAP_REQUEST_POST, keep_request);
}

} // namespace

bool reset_resources() {
    assert(CoapLock::held());
    s_served_count = 0;
    // libcoap serves this one by itself, too early as well: ours stands before it until then.
    s_well_known = add_resource(kWellKnown);
    return s_well_known != nullptr || refuse_resource(kWellKnown);
}

void open_resources() {
    assert(CoapLock::held());
    if (s_well_known != nullptr)
        coap_delete_resource(g_coap_ctx, s_well_known);
    s_well_known = nullptr;
    for (int index = 0; index < s_served_count; ++index)
        open_resource(s_served[index]);
}

coap_method_handler_t handler_for(const coap_resource_t* resource, const coap_pdu_t* request) {
    assert(CoapLock::held());
    for (int index = 0; index < s_served_count; ++index) {
        const Served& served = s_served[index];
        if (served.resource == resource)
            return coap_pdu_get_code(request) == COAP_REQUEST_CODE_GET ? served.get : served.post;
    }
    return nullptr;
}

} // namespace vxq

bool frame_coap_serve(const char* path, coap_method_handler_t get, coap_method_handler_t post) {
    using namespace vxq;
    const CoapLock lock;
    if (g_coap_ctx == nullptr)
        return true;
    coap_resource_t* const resource = s_served_count < kCapacity ? add_resource(path) : nullptr;
    if (resource == nullptr)
        return refuse_resource(path);
    s_served[s_served_count++] = {resource, get, post};
    return true;
}
