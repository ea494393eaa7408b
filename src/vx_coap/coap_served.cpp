// SPDX-License-Identifier: MIT
#include "vx_coap/coap_served.h"

#include <cassert>
#include <cstring>

#include "log/log.h"
#include "vx_coap/coap_lock.h"
#include "vx_coap/frame_coap.h"

namespace vxq {

namespace {

constexpr int kCapacity = 32;

struct Served {
    coap_resource_t* resource;
    coap_method_handler_t get;
    coap_method_handler_t post;
};

Served s_served[kCapacity];
int s_served_count = 0;
coap_resource_t* s_well_known = nullptr;

coap_resource_t* add_resource(const char* path) {
    coap_str_const_t name{std::strlen(path), reinterpret_cast<const std::uint8_t*>(path)};
    coap_resource_t* const resource = coap_resource_init(&name, 0);
    if (resource != nullptr)
        coap_add_resource(g_coap_ctx, resource);
    return resource;
}

void open_resource(const Served& served) {
    if (served.get != nullptr)
        coap_register_request_handler(served.resource, COAP_REQUEST_GET, served.get);
    if (served.post != nullptr)
        coap_register_request_handler(served.resource, COAP_REQUEST_POST, served.post);
}

} // namespace

void reset_resources() {
    assert(CoapLock::held());
    s_served_count = 0;
    // libcoap serves this one by itself, too early as well: ours stands before it until then.
    s_well_known = add_resource(".well-known/core");
}

void open_resources() {
    assert(CoapLock::held());
    if (s_well_known != nullptr)
        coap_delete_resource(g_coap_ctx, s_well_known);
    s_well_known = nullptr;
    for (int index = 0; index < s_served_count; ++index)
        open_resource(s_served[index]);
}

} // namespace vxq

void frame_coap_serve(const char* path, coap_method_handler_t get, coap_method_handler_t post) {
    using namespace vxq;
    const CoapLock lock;
    if (g_coap_ctx == nullptr)
        return;
    coap_resource_t* const resource = s_served_count < kCapacity ? add_resource(path) : nullptr;
    if (resource == nullptr) {
        QUILAN_LOG(VX_LOG_ERROR, "no room for resource %s\n", path);
        return;
    }
    s_served[s_served_count++] = {resource, get, post};
}
