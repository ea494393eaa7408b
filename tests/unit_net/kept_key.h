// SPDX-License-Identifier: MIT
#pragma once

/**
 * Has the device library give back the key that it was given last; to be run inside
 * port_device_encryptkey_set.
 */
void keep_key();
