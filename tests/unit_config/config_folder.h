// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include <vxquilan/entry_points.h>

/** A configuration file in a folder of its own. */
class ConfigFile : public testing::Test {
protected:
    ConfigFile() {
        std::string pattern = std::filesystem::temp_directory_path() / "vxquilan-config-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            std::abort();
        folder = pattern;
        path = folder / "settings";
    }
    ~ConfigFile() override { std::filesystem::remove_all(folder); }

    void put(const std::string& content) const { std::ofstream(path, std::ios::binary) << content; }
    std::string content() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /** The value of a setting; "(none)" when there is none, and the buffer is untouched. */
    std::string get(const std::string& key) const {
        std::array<char, 256> value{};
        const int result = vx_getcfgx(path.c_str(), key.c_str(), value.data());
        if (result == 1)
            return value.data();
        EXPECT_EQ(result, 0);
        EXPECT_EQ(value, (std::array<char, 256>{}));
        return "(none)";
    }
    int set(const std::string& key, const std::string& value) const {
        return vx_setcfgx(path.c_str(), key.c_str(), value.c_str());
    }

    std::filesystem::path folder;
    std::filesystem::path path;
};
