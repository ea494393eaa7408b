// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/** @file The platform's names for authentication modes and ciphers, and their codes in wifi_ap. */
namespace vxq {

/** The code of an authentication mode, however it is spelt; false when there is no such mode. */
bool auth_code(const char* name, std::int32_t& code);
/** The code of a cipher; as auth_code. */
bool encrypt_code(const char* name, std::int32_t& code);

/** The name of an authentication mode; the empty text for codes that stand for none. */
const char* auth_name(std::int32_t code);
/** The name of a cipher; as auth_name. */
const char* encrypt_name(std::int32_t code);

} // namespace vxq
