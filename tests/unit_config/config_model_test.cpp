// SPDX-License-Identifier: MIT
// Random files against a model that knows nothing but the format.
#include <optional>
#include <random>
#include <vector>

#include "unit_config/config_folder.h"

namespace {

struct ModelLine {
    std::string key;
    char separator;
    std::string value;
    bool comment;

    std::string text() const { return (comment ? "#" : "") + key + separator + value; }
};

/** Keys and values without separators, so that a line means one thing only. */
class RandomFile {
public:
    explicit RandomFile(unsigned seed) : random_(seed) {
        const int count = number(0, 40);
        for (int index = 0; index < count; ++index)
            lines_.push_back({key(), number(0, 1) != 0 ? ':' : ' ', word(60), number(0, 4) == 0});
        ended_ = number(0, 1) != 0;
    }

    std::string text() const {
        std::string result;
        for (const ModelLine& line : lines_)
            result += line.text() + "\n";
        if (!ended_ && !result.empty())
            result.pop_back();
        return result;
    }

    std::optional<std::string> get(const std::string& key) {
        const ModelLine* const line = find(key);
        return line != nullptr ? std::optional(line->value) : std::nullopt;
    }

    int set(const std::string& key, const std::string& value) {
        ModelLine* const line = find(key);
        if (line == nullptr) {
            lines_.push_back({key, ':', value, false});
            ended_ = true;
            return 0;
        }
        line->value = value;
        if (line == &lines_.back())
            ended_ = true;
        return 1;
    }

    std::string key() { return std::string(1, static_cast<char>('a' + number(0, 9))) + suffix(); }
    std::string word(int longest) {
        std::string result;
        for (int length = number(1, longest); length > 0; --length)
            result += static_cast<char>(number('0', '9'));
        return result;
    }

private:
    int number(int low, int high) { return std::uniform_int_distribution(low, high)(random_); }
    std::string suffix() { return number(0, 1) != 0 ? "" : "_long"; }

    ModelLine* find(const std::string& key) {
        for (ModelLine& line : lines_) {
            if (!line.comment && line.key == key)
                return &line;
        }
        return nullptr;
    }

    std::mt19937 random_;
    std::vector<ModelLine> lines_;
    bool ended_;
};

TEST_F(ConfigFile, AgreesWithTheModelOnRandomFiles) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomFile model(seed);
        put(model.text());
        for (int step = 0; step < 8; ++step) {
            const std::string key = model.key();
            EXPECT_EQ(get(key), model.get(key).value_or("(none)"));
            const std::string value = model.word(80);
            EXPECT_EQ(set(key, value), model.set(key, value));
            ASSERT_EQ(content(), model.text());
        }
    }
}

} // namespace
