#include "message_case.h"

#include <cctype>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

namespace kavro {

namespace {

constexpr const char *envelope_handler = "Error response handler";

std::pair<std::string, std::string> split(const std::string &text, const std::string &separator) {
    const auto at = text.find(separator);
    if (at == std::string::npos)
        throw std::runtime_error("no '" + separator + "' in: " + text);
    return {text.substr(0, at), text.substr(at + separator.size())};
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::vector<std::string> words(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

void set_header(MessageCase &one, const std::string &key, const std::string &written) {
    static const std::map<std::string, std::string MessageCase::*> texts = {
        {"request", &MessageCase::request},
        {"code", &MessageCase::code},
        {"message", &MessageCase::message},
        {"detected by", &MessageCase::detected_by},
        {"detail", &MessageCase::detail},
        {"version", &MessageCase::version},
        {"unrecognised", &MessageCase::unrecognised},
        {"unrecognised log", &MessageCase::unrecognised_log},
    };
    const std::string value = replaced(written, "\\n", "\n");
    if (const auto text = texts.find(key); text != texts.end())
        one.*text->second = value;
    else if (key == "oauth")
        one.oauth = value == "on";
    else if (key == "log")
        one.errors.push_back(value);
    else if (key == "info")
        one.infos.push_back(value);
    else if (key == "record")
        one.record->push_back(value);
    else if (key == "id") {
        const auto [ids, code] = split(value, " = ");
        for (const auto &id : words(ids))
            one.ids.emplace_back(id, code);
    } else if (key == "required")
        one.required.push_back(split(value, ": "));
    else
        throw std::runtime_error("unknown header: " + key);
}

MessageCase with_id(const MessageCase &written, const std::string &id, const std::string &code) {
    MessageCase one = written;
    one.name += ": '" + id + "'";
    one.code = code;
    one.answer = replaced(one.answer, "@ID@", id);
    for (auto &error : one.errors)
        error = replaced(error, "@ID@", id);
    return one;
}

void add_with_ids(const MessageCase &written, std::vector<MessageCase> &all) {
    for (const auto &[id, code] : written.ids) {
        if (code != "elsewhere")
            all.push_back(with_id(written, id, code));
        std::string lower = id;
        for (char &c : lower)
            c = static_cast<char>(std::tolower(c));
        for (const std::string &misspelt : {lower, id + ' '}) {
            if (misspelt == id)
                continue;
            MessageCase &one = all.emplace_back(with_id(written, misspelt, written.unrecognised));
            if (!written.unrecognised_log.empty())
                one.errors.push_back(written.unrecognised_log);
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
    std::map<std::string, std::string> complaints;
    const auto require = [&](const std::string &handler, const std::string &element,
                             const std::string &tag) {
        complaints[element] = handler + ": Could not find " + tag + " tag";
    };
    for (const auto &[handler, elements] : written.required) {
        for (const std::string &word : words(elements)) {
            const auto equals = word.find('=');
            require(handler, word.substr(0, equals), word.substr(equals + 1)); // npos + 1 is 0
        }
    }
    const std::vector<std::string> names = element_names(written.answer);
    require(envelope_handler, names.at(0), "broker");
    require(envelope_handler, names.at(1), "type");
    std::set<std::string> elements(names.begin(), names.end());
    for (const auto &[element, complaint] : complaints)
        elements.insert(element); // which without() then does not find
    for (const std::string &element : elements) {
        MessageCase one = written;
        one.name += ": without " + element;
        one.answer = without(one.answer, element);
        one.infos.clear();
        one.record.reset();
        if (const auto complaint = complaints.find(element); complaint != complaints.end()) {
            one.code = "ERROR_CODE_PROTOCOL_MANGLED_RESPONSE";
            one.message.clear();
            one.record.emplace();
            one.errors = {complaint->second};
        }
        all.push_back(one);
    }
}

} // namespace

std::vector<MessageCase> read_cases(const std::string &file) {
    std::ifstream in(file);
    if (!in)
        throw std::runtime_error("cannot read " + file);
    std::vector<MessageCase> cases;
    bool in_answer = false;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("=== ")) {
            cases.emplace_back().name = line.substr(4);
            cases.back().record.emplace();
            in_answer = false;
        } else if (in_answer) {
            cases.back().answer += line + '\n';
        } else if (line == "---") {
            in_answer = true;
        } else if (!line.empty() && !line.starts_with('#')) {
            const auto [key, value] = split(line, ": ");
            set_header(cases.back(), key, value);
        }
    }
    return cases;
}

std::vector<MessageCase> expand(const MessageCase &written) {
    std::vector<MessageCase> all;
    std::istringstream requests(written.request);
    for (MessageCase one = written; std::getline(requests >> std::ws, one.request, ',');) {
        if (one.ids.empty())
            all.push_back(one);
        add_with_ids(one, all);
        if (!one.required.empty())
            add_with_elements_left_out(one, all);
    }
    return all;
}

} // namespace kavro
