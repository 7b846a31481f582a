#include "fault_reading.h"

#include "pages.h"

#include <algorithm>

namespace broker_sim {
namespace {

constexpr Word<Stage> stages[] = {
    {"accept", Stage::accept}, {"handshake", Stage::handshake}, {"response", Stage::response}};
constexpr Word<Ending> endings[] = {{"stall", Ending::stall},
                                    {"close", Ending::close},
                                    {"fin", Ending::fin},
                                    {"reset", Ending::reset}};

template <class T, std::size_t count>
std::string_view word_for(const T &value, const Word<T> (&words)[count]) {
    return std::ranges::find(words, value, &Word<T>::second)->first;
}

bool is_server(std::string_view name) {
    using namespace server_name;
    static constexpr std::string_view all[] = {broker,       view_broker,  direct_host,
                                               registration, provisioning, proxy};
    return std::ranges::find(all, name) != std::end(all);
}

/// The keys that faults and overrides share.
std::vector<JsonNode::Member> match_members(Match &match) {
    const auto kind = [&](const JsonNode &node) {
        match.request = node.text();
        if (!is_request_kind(match.request))
            node.fail("is no request of the protocol");
    };
    return {{"request", kind},
            {"connection", into(match.connection)},
            {"nth", into(match.nth)},
            {"server", checked(is_server, "is no server of the simulator", match.server)}};
}

} // namespace

void read(const JsonNode &node, std::pair<std::string, std::string> &header) {
    node.read_object({{"name", into(header.first), true}, {"value", into(header.second), true}});
}

void read(const JsonNode &node, Fault &out) {
    node.read_object({{"stage", one_of(stages, out.stage)},
                      {"ending", one_of(endings, out.ending)},
                      {"at_byte", into(out.at_byte)},
                      {"delay_ms", into(out.delay)},
                      {"record_size", into(out.record_size)},
                      {"drip_bytes", into(out.drip_bytes)},
                      {"drip_every_ms", into(out.drip_every)},
                      {"chunks", into(out.chunks)},
                      {"status_line", into(out.status_line)},
                      {"bad_xml", into(out.bad_xml)}},
                     match_members(out.match));
    if (out.stage == Stage::accept && out.ending != Ending::stall && out.ending != Ending::reset)
        node.fail("at the stage \"accept\" the ending must be \"stall\" or \"reset\"");
    if (out.stage != Stage::response && !out.match.request.empty())
        node.fail("the request is not known before the stage \"response\"");
}

void read(const JsonNode &node, Override &out) {
    const auto status = [&](const JsonNode &number) {
        out.status = static_cast<unsigned>(number.number(999));
    };
    node.read_object({{"status", status},
                      {"headers", into(out.headers)},
                      {"body", into(out.body)},
                      {"raw", into(out.raw)},
                      {"result_id", into(out.result_id)},
                      {"error_id", into(out.error_id)},
                      {"result_str", into(out.result_str)},
                      {"detected_by", into(out.detected_by)},
                      {"err_detail", into(out.err_detail)}},
                     match_members(out.match));
}

nlohmann::json parts_of(const Fault &fault) {
    auto parts = nlohmann::json::object();
    const auto put = [&](const char *key, const auto &value, const auto &nothing) {
        if (value != nothing)
            parts[key] = value;
    };
    if (fault.stage != Stage::response)
        parts["stage"] = word_for(fault.stage, stages);
    if (fault.ending != Ending::none)
        parts["ending"] = word_for(fault.ending, endings);
    put("at_byte", fault.at_byte, 0u);
    put("delay_ms", fault.delay.count(), 0);
    put("record_size", fault.record_size, 0u);
    put("drip_bytes", fault.drip_bytes, 0u);
    put("drip_every_ms", fault.drip_every.count(), 0);
    put("chunks", fault.chunks, std::vector<std::size_t>{});
    put("status_line", fault.status_line, "");
    put("bad_xml", fault.bad_xml, false);
    return parts;
}

} // namespace broker_sim
