#pragma once
#include "scenario.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace broker_sim {

/// A JSON value that knows where it stands, so that every complaint names the key.
class JsonNode {
public:
    /// A key that an object may hold, and what to do with its value.
    struct Member {
        std::string_view key;
        std::function<void(const JsonNode &)> read;
        bool required = false;
    };

    JsonNode(const nlohmann::json &value, std::string path)
        : value_(value), path_(std::move(path)) {}

    /// Reads an object that holds these keys and no others, in the order of the members.
    void read_object(std::vector<Member> members, const std::vector<Member> &more = {}) const;
    void read_array(const std::function<void(const JsonNode &)> &read_element) const;

    bool is_array() const { return value_.is_array(); }
    std::string text() const;
    bool boolean() const;
    std::size_t number(std::size_t most) const;
    std::string object_as_text() const; ///< an object of any keys, as JSON

    [[noreturn]] void fail(std::string_view complaint) const;

private:
    const nlohmann::json &value_;
    std::string path_;
};

void read(const JsonNode &node, std::string &out);
void read(const JsonNode &node, bool &out);
void read(const JsonNode &node, unsigned &out);
void read(const JsonNode &node, std::size_t &out);
void read(const JsonNode &node, std::uint16_t &out);
void read(const JsonNode &node, std::chrono::milliseconds &out);

template <class T>
void read(const JsonNode &node, std::optional<T> &out) {
    read(node, out.emplace());
}

template <class T>
void read(const JsonNode &node, std::vector<T> &out) {
    out.clear();
    node.read_array([&](const JsonNode &element) { read(element, out.emplace_back()); });
}

/// Reads into `out` with the overload of read() for its type.
template <class T>
std::function<void(const JsonNode &)> into(T &out) {
    return [&out](const JsonNode &node) { read(node, out); };
}

using TextCheck = bool (*)(std::string_view);

/// Reads a text, or each text of a list, that passes the check into `out`.
std::function<void(const JsonNode &)> checked(TextCheck check, const char *complaint,
                                              std::string &out);
std::function<void(const JsonNode &)> checked(TextCheck check, const char *complaint,
                                              std::vector<std::string> &out);

/// A word that stands for a value.
template <class T>
using Word = std::pair<std::string_view, T>;

/// Reads a word of the table, which must outlive the reading, into `out`.
template <class T, std::size_t size>
std::function<void(const JsonNode &)> one_of(const Word<T> (&table)[size], T &out) {
    return [&](const JsonNode &node) {
        const std::string text = node.text();
        std::string words;
        for (const auto &[word, value] : table) {
            if (text == word) {
                out = value;
                return;
            }
            words += words.empty() ? "" : ", ";
            words += word;
        }
        node.fail("must be one of: " + words);
    };
}

} // namespace broker_sim
