#include "fault_reading.h"

#include "pages.h"

#include <algorithm>

namespace broker_sim {
namespace {

bool is_server(std::string_view name) {
    using namespace server_name;
    static constexpr std::string_view all[] = {broker, view_broker, direct_host, registration,
                                               provisioning};
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
    static constexpr Word<Stage> stages[] = {
        {"accept", Stage::accept}, {"handshake", Stage::handshake}, {"response", Stage::response}};
    static constexpr Word<Ending> endings[] = {{"stall", Ending::stall},
                                               {"close", Ending::close},
                                               {"fin", Ending::fin},
                                               {"reset", Ending::reset}};
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
    if (out.stage == Stage::accept && out.ending != Ending::stall)
        node.fail("at the stage \"accept\" the ending must be \"stall\"");
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

} // namespace broker_sim
