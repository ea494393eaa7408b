// SPDX-License-Identifier: MIT
#include "races/library_threads.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "races/race_device.h"
#include <vxquilan/entry_points.h>

namespace races {

namespace {

constexpr int kThreads = 2;
constexpr std::uint32_t kFirstActor = 100;
constexpr int kLongestRest = 6000; // microseconds

/** What may be called from several threads at once: nothing of it is shared. */
void use_text_routines() {
    const unsigned char key[16] = "fifteen letters";
    char text[64] = "a text of the library's own";
    char* const cipher = gwdencrypt_cbcaes_base64(text, key);
    char* const plain = gwddecrypt_cbcaes_base64(cipher, key);
    if (plain == nullptr || std::strcmp(plain, "a text of the library's own") != 0)
        note_finding("a text does not come back from its encryption");
    std::free(plain);
    std::free(cipher);
}

} // namespace

LibraryThreads::LibraryThreads(std::uint32_t seed, Addresses addresses)
    : addresses_(std::move(addresses)) {
    for (std::uint32_t index = 0; index < kThreads; ++index)
        threads_.emplace_back([this, seed, index] { run(Random(seed, kFirstActor + index)); });
}

LibraryThreads::~LibraryThreads() {
    put(stop_, true);
    for (std::thread& thread : threads_)
        thread.join();
}

void LibraryThreads::run(Random random) {
    while (!look(stop_)) {
        act(random);
        random.linger(kLongestRest);
    }
}

void LibraryThreads::act(Random& random) const {
    if (device().rebooted.exchange(false, std::memory_order_relaxed))
        change_mode(random); // it comes up with other settings
    const int choice = random.below(1000);
    if (choice < 15)
        change_mode(random);
    else if (choice < 50)
        put(device().area, random.below(3));
    else if (choice < 200)
        use_text_routines();
    else if (!addresses_.empty())
        act_on_app_channel(random);
}

/** What ends a session is rare: the gateway must get online now and then. */
void LibraryThreads::act_on_app_channel(Random& random) const {
    const int choice = random.below(1000);
    if (choice < 600)
        profession_sys_data_report(choice);
    else if (choice < 630)
        profession_sys_register_code("code");
    else if (choice < 650)
        frame_quilan_state_set(kActivation);
    else if (choice < 700)
        frame_quilan_state_set(random.below(kActivation)); // changes nothing
    else if (choice < 720)
        put(device().expired, true);
    else if (choice < 750)
        move_platform(random);
}

void LibraryThreads::change_mode(Random& random) const {
    put(device().mode, random.below(3));
}

void LibraryThreads::move_platform(Random& random) const {
    const Address& address = addresses_[random.place(addresses_.size())];
    device().set_platform(address.port, address.tls);
}

} // namespace races
