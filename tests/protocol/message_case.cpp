#include "message_case.h"

#include <boost/algorithm/string.hpp>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

namespace kavro {

namespace {

const std::set<std::string> known_headers = {
    "request", "oauth", "code",   "message", "detected by",  "detail",           "version",
    "log",     "info",  "record", "id",      "unrecognised", "unrecognised log", "required"};

constexpr const char *envelope_handler = "Error response handler";

std::pair<std::string, std::string> split(const std::string &text, const std::string &separator) {
    const auto at = text.find(separator);
    if (at == std::string::npos)
        throw std::runtime_error("no '" + separator + "' in: " + text);
    return {text.substr(0, at), text.substr(at + separator.size())};
}

std::vector<std::string> words(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

MessageCase with_id(const MessageCase &written, const std::string &id, const std::string &code) {
    MessageCase one = written;
    one.name += ": '" + id + "'";
    boost::replace_all(one.answer, "@ID@", id);
    for (auto &[key, values] : one.headers)
        for (std::string &value : values)
            boost::replace_all(value, "@ID@", id);
    one.add("code", code);
    return one;
}

void add_with_ids(const MessageCase &written, std::vector<MessageCase> &all) {
    for (const std::string &header : written.all("id")) {
        const auto [ids, code] = split(header, " = ");
        for (const std::string &id : words(ids)) {
            if (code != "elsewhere")
                all.push_back(with_id(written, id, code));
            for (const std::string &misspelt : {boost::to_lower_copy(id), id + ' '}) {
                if (misspelt == id)
                    continue;
                all.push_back(with_id(written, misspelt, written.last("unrecognised")));
                for (const std::string &line : written.all("unrecognised log"))
                    all.back().add("log", line);
            }
        }
    }
}

/// Takes the first element of that name out of a text.
std::string without(std::string text, const std::string &element) {
    std::smatch tag;
    if (!std::regex_search(text, tag, std::regex("<" + element + "( [^>]*)?/?>")))
        throw std::runtime_error("no element " + element);
    const auto begin = static_cast<std::size_t>(tag.position());
    auto end = begin + static_cast<std::size_t>(tag.length());
    const std::string end_tag = "</" + element + ">";
    if (text[end - 2] != '/')
        end = text.find(end_tag, end) + end_tag.size();
    return text.erase(begin, end - begin);
}

/// The names of the elements in document order, some of them several times.
std::vector<std::string> element_names(const std::string &text) {
    static const std::regex start_tag("<([a-z][a-z-]*)");
    return {std::sregex_token_iterator(text.begin(), text.end(), start_tag, 1), {}};
}

void add_with_elements_left_out(const MessageCase &written, std::vector<MessageCase> &all) {
    const std::vector<std::string> names = element_names(written.answer);
    std::map<std::string, std::string> complaints;
    const auto require = [&](const std::string &handler, const std::string &element,
                             const std::string &tag) {
        complaints[element] = handler + ": Could not find " + tag + " tag";
    };
    require(envelope_handler, names.at(0), "broker");
    require(envelope_handler, names.at(1), "type");
    for (const std::string &header : written.all("required")) {
        const auto [handler, elements] = split(header, ": ");
        for (const std::string &word : words(elements)) {
            const auto equals = word.find('=');
            require(handler, word.substr(0, equals), word.substr(equals + 1)); // npos + 1 is 0
        }
    }
    std::set<std::string> elements(names.begin(), names.end());
    for (const auto &[element, complaint] : complaints)
        elements.insert(element); // which without() then does not find
    for (const std::string &element : elements) {
        MessageCase one = written;
        one.name += ": without " + element;
        one.answer = without(one.answer, element);
        one.headers.erase("info");
        const auto complaint = complaints.find(element);
        one.whole = complaint != complaints.end();
        if (one.whole) {
            for (const char *key : {"message", "record", "log"})
                one.headers.erase(key);
            one.add("code", "ERROR_CODE_PROTOCOL_MANGLED_RESPONSE");
            one.add("log", complaint->second);
        }
        all.push_back(one);
    }
}

} // namespace

std::vector<std::string> MessageCase::all(std::string_view key) const {
    const auto found = headers.find(key);
    return found != headers.end() ? found->second : std::vector<std::string>();
}

std::string MessageCase::last(std::string_view key, const std::string &otherwise) const {
    const auto values = all(key);
    return values.empty() ? otherwise : values.back();
}

std::vector<MessageCase> read_cases(const std::string &file) {
    std::ifstream in(file);
    if (!in)
        throw std::runtime_error("cannot read " + file);
    std::vector<MessageCase> cases;
    bool in_answer = false;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("=== ")) {
            cases.emplace_back().name = line.substr(4);
            in_answer = false;
        } else if (in_answer) {
            cases.back().answer += line + '\n';
        } else if (line == "---") {
            in_answer = true;
        } else if (!line.empty() && !line.starts_with('#')) {
            const auto [key, value] = split(line, ": ");
            if (!known_headers.contains(key))
                throw std::runtime_error("unknown header: " + key);
            cases.back().add(key, boost::replace_all_copy(value, "\\n", "\n"));
        }
    }
    return cases;
}

std::vector<MessageCase> expand(const MessageCase &written) {
    std::vector<MessageCase> all;
    std::istringstream requests(written.last("request"));
    MessageCase one = written;
    for (std::string request; std::getline(requests >> std::ws, request, ',');) {
        one.add("request", request);
        if (one.all("id").empty())
            all.push_back(one);
        add_with_ids(one, all);
        if (!one.all("required").empty())
            add_with_elements_left_out(one, all);
    }
    return all;
}

} // namespace kavro
