// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace lab {

using Json = nlohmann::ordered_json;
using Pointer = Json::json_pointer;

/// The folder of this run, removed at its end.
const std::string& folder();
std::string state_path();
std::string journal_path();

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& text);

/// The sample state file as it is shipped.
Json sample();
/// The state file as it is now.
Json state();
/// Overwrites the state file, as an editor would.
void edit(const std::function<void(Json&)>& change);

/// One JSON value per line of the journal.
std::vector<Json> journal();

/// Every test starts with the sample and an empty journal.
class DeviceLab : public ::testing::Test {
protected:
    void SetUp() override;
};

struct Outcome {
    int status = 0; ///< exit status
    std::string output;
    std::string errors;
};

/// Runs a program to its end. The environment is this process's with the given additions; an
/// empty value takes a variable out.
Outcome run(const std::vector<std::string>& command,
            const std::map<std::string, std::string>& environment = {});
/// The same for lab_call.
Outcome call(std::vector<std::string> arguments,
             const std::map<std::string, std::string>& environment = {});

/// A program that runs at the same time.
class Background {
public:
    Background(const std::vector<std::string>& command,
               const std::map<std::string, std::string>& environment);
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;
    ~Background();
    std::string read_line(); ///< of its output; waits for it
    Outcome finish();        ///< waits for its end

private:
    int process_ = -1;
    int output_ = -1;
    std::string errors_path_;
};

/// What this process writes to standard error during the call.
std::string errors_of(const std::function<void()>& body);

/// A record or a buffer of a fixed size between guard bytes.
class Guarded {
public:
    explicit Guarded(std::size_t size) : size_(size), bytes_(size + 2 * kGuard, kPattern) {
        std::memset(data(), 0, size);
    }
    char* data() { return bytes_.data() + kGuard; }
    template <class Type>
    Type* as() {
        return reinterpret_cast<Type*>(data());
    }
    bool intact() const {
        for (std::size_t i = 0; i < kGuard; ++i) {
            if (bytes_[i] != kPattern || bytes_[kGuard + size_ + i] != kPattern) {
                return false;
            }
        }
        return true;
    }

private:
    static constexpr std::size_t kGuard = 64;
    static constexpr char kPattern = '\x5a';
    std::size_t size_;
    std::vector<char> bytes_;
};

std::size_t count(const std::string& text, const std::string& part);

} // namespace lab
