#include "json_node.h"

#include <algorithm>
#include <limits>

namespace broker_sim {

void JsonNode::fail(std::string_view complaint) const {
    throw ScenarioError((path_.empty() ? "scenario" : path_) + ": " + std::string(complaint));
}

void JsonNode::read_object(std::vector<Member> members, const std::vector<Member> &more) const {
    members.insert(members.end(), more.begin(), more.end());
    if (!value_.is_object())
        fail("must be an object");
    const auto child = [&](std::string_view key, const nlohmann::json &value) {
        return JsonNode(value, path_ + (path_.empty() ? "" : ".") + std::string(key));
    };
    for (const auto &[key, value] : value_.items())
        if (std::ranges::find(members, std::string_view(key), &Member::key) == members.end())
            child(key, value).fail("unknown key");
    for (const Member &member : members) {
        const auto found = value_.find(member.key);
        if (found != value_.end())
            member.read(child(member.key, *found));
        else if (member.required)
            child(member.key, value_).fail("is missing");
    }
}

void JsonNode::read_array(const std::function<void(const JsonNode &)> &read_element) const {
    if (!value_.is_array())
        fail("must be a list");
    for (std::size_t i = 0; i < value_.size(); ++i)
        read_element(JsonNode(value_[i], path_ + "[" + std::to_string(i) + "]"));
}

std::string JsonNode::text() const {
    if (!value_.is_string())
        fail("must be a text");
    return value_.get<std::string>();
}

bool JsonNode::boolean() const {
    if (!value_.is_boolean())
        fail("must be true or false");
    return value_.get<bool>();
}

std::size_t JsonNode::number(std::size_t most) const {
    if (!value_.is_number_unsigned() || value_.get<std::size_t>() > most)
        fail("must be a whole number from 0 to " + std::to_string(most));
    return value_.get<std::size_t>();
}

std::string JsonNode::object_as_text() const {
    if (!value_.is_object())
        fail("must be an object");
    return value_.dump();
}

void read(const JsonNode &node, std::string &out) {
    out = node.text();
}
void read(const JsonNode &node, bool &out) {
    out = node.boolean();
}

void read(const JsonNode &node, unsigned &out) {
    out = static_cast<unsigned>(node.number(std::numeric_limits<unsigned>::max()));
}

void read(const JsonNode &node, std::size_t &out) {
    out = node.number(std::numeric_limits<std::uint32_t>::max());
}

void read(const JsonNode &node, std::uint16_t &out) {
    out = static_cast<std::uint16_t>(node.number(std::numeric_limits<std::uint16_t>::max()));
}

void read(const JsonNode &node, std::chrono::milliseconds &out) {
    out = std::chrono::milliseconds(node.number(std::numeric_limits<std::uint32_t>::max()));
}

std::function<void(const JsonNode &)> checked(TextCheck check, const char *complaint,
                                              std::string &out) {
    return [=, &out](const JsonNode &node) {
        out = node.text();
        if (!check(out))
            node.fail(complaint);
    };
}

std::function<void(const JsonNode &)> checked(TextCheck check, const char *complaint,
                                              std::vector<std::string> &out) {
    return [=, &out](const JsonNode &node) {
        out.clear();
        node.read_array([&](const JsonNode &element) {
            checked(check, complaint, out.emplace_back())(element);
        });
    };
}

} // namespace broker_sim
