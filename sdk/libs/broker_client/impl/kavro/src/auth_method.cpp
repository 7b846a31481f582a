#include "kavro/src/auth_method.h"

#include <iterator>

namespace kavro {

namespace {

/// Offered for OAuth in place of whatever domains the broker sends.
constexpr const char *oauth_domains[] = {"KAVROLAB", "MORAVELT",
                                         "BADDOMAIN1234567890123456789012345678901234567890"};

// Each reads what its method brings along.
using ReadDetails = Read<> (*)(XmlNode next, cAUTH_RESULT &auth);

Read<> read_no_details(XmlNode, cAUTH_RESULT &) {
    return {};
}

Read<> extract_domain_list(XmlNode next, cAUTH_RESULT &auth) {
    if (const XmlNode domains = next.child("domains"))
        auth.domains = child_texts(domains, "domain");
    return auth.domains.empty() ? Read<>("domains") : Read<>();
}

Read<> read_oauth(XmlNode, cAUTH_RESULT &auth) {
    auth.domains.assign(std::begin(oauth_domains), std::end(oauth_domains));
    return {};
}

Read<> read_disclaimer(XmlNode next, cAUTH_RESULT &auth) {
    const auto disclaimer = find(next, {"disclaimer"});
    if (!disclaimer)
        return disclaimer.error();
    auth.disclaimer = disclaimer->text();
    return {};
}

/// The id of a dialog's field or button: its `id` child, else its `id` attribute.
std::string dialog_id(XmlNode item) {
    if (const XmlNode id = item.child("id"))
        return id.text();
    return std::string(item.attribute("id").value_or(""));
}

/// One keyword of an optional element and the value it stands for.
template <class Value>
struct Keyword {
    std::string_view id;
    Value value;
};

constexpr Keyword<bool> hidden_keywords[] = {{"true", true}, {"false", false}};
constexpr Keyword<bool> loggable_keywords[] = {{"true", false}, {"false", true}};
constexpr Keyword<std::uint32_t> text_type_keywords[] = {
    {"text", 0}, {"number", 1}, {"email", 2}, {"url", 3}, {"tel", 4}};

/// Leaves `value` alone when the element is absent; false when its text is no keyword.
template <class Value, std::size_t N>
bool read_keyword(XmlNode parent, const char *element, const Keyword<Value> (&keywords)[N],
                  Value &value) {
    const XmlNode child = parent.child(element);
    if (!child)
        return true;
    const auto *keyword = find_row<Keyword<Value>>(keywords, child.text());
    if (keyword == nullptr)
        return false;
    value = keyword->value;
    return true;
}

Read<> read_field(XmlNode element, DialogField &field) {
    field.id = dialog_id(element);
    field.label = child_text(element, "label");
    field.text = child_text(element, "text");
    field.read_only = child_text(element, "type") == "read-only-text";
    if (!read_keyword(element, "hidden", hidden_keywords, field.hidden))
        return "hidden";
    if (!read_keyword(element, "do-not-log", loggable_keywords, field.loggable))
        return "do-not-log";
    if (!read_keyword(element, "text-type", text_type_keywords, field.text_type))
        return "text-type";
    return {};
}

Read<> read_dialog(XmlNode next, cAUTH_RESULT &auth) {
    const auto dialog = find(next, {"dialog-parameters"});
    if (!dialog)
        return dialog.error();
    auth.dialog_prompt = child_text(*dialog, "prompt");
    auth.dialog_error = child_text(*dialog, "error-text");
    if (const XmlNode fields = dialog->child("fields")) {
        for (XmlNode element = fields.child("field"); element; element = element.next("field")) {
            if (auto field = read_field(element, auth.dialog_fields.emplace_back()); !field)
                return field;
        }
    }
    if (const XmlNode buttons = dialog->child("buttons")) {
        for_each_child(buttons, "button", [&auth](XmlNode button) {
            auth.dialog_buttons.push_back({dialog_id(button), child_text(button, "label"),
                                           child_text(button, "is-default") == "true"});
        });
    }
    return {};
}

struct MethodRow {
    std::string_view id;
    AuthMethod method;
    eERROR_CODE code;
    ReadDetails read;
    bool oauth_only = false;
};

constexpr MethodRow method_rows[] = {
    {"AUTHENTICATE_VIA_PASSWORD", AuthMethod::password, ERROR_CODE_NONE, extract_domain_list},
    {"AUTHENTICATE_VIA_OAUTH", AuthMethod::oauth, ERROR_CODE_NONE, read_oauth, true},
    {"AUTHENTICATE_VIA_DISCLAIMER", AuthMethod::disclaimer, ERROR_CODE_NONE, read_disclaimer},
    {"AUTHENTICATE_VIA_DIALOG", AuthMethod::dialog, ERROR_CODE_NONE, read_dialog},
    {"AUTHENTICATION_NOT_REQUIRED", AuthMethod::none, ERROR_CODE_NONE, read_no_details},
    {already_done, AuthMethod::none, ERROR_CODE_NONE, read_no_details},
    {"AUTHENTICATION_BLOCKED", AuthMethod::unknown, ERROR_CODE_AUTH_BLOCKED, read_no_details},
    {password_expired, AuthMethod::password_expired, ERROR_CODE_NONE, read_no_details},
};

/// The first of the offered methods: a child, or one of a list.
Read<XmlNode> first_method(XmlNode next) {
    if (const XmlNode method = next.child("method"))
        return method;
    return find(next, {"authentication-methods", "method"});
}

/// The first of the offered methods that this client knows, or null.
const MethodRow *choose_method(XmlNode first, bool oauth_enabled) {
    for (XmlNode method = first; method; method = method.next("method")) {
        const MethodRow *row = find_row<MethodRow>(method_rows, method.text());
        if (row != nullptr && (oauth_enabled || !row->oauth_only))
            return row;
    }
    return nullptr;
}

void write(RequestText &request, std::string_view next_authentication) {
    request.line(next_authentication);
}

} // namespace

const Message<AuthAnswer, std::string_view> authentication_method_message = {
    .element = "get-authentication-method-resp",
    .write = write,
    .read = process_authentication_method,
    .completion = "cKAVRO_BROKER_CLIENT::handle_get_authentication_method_resp",
};

BrokerResult process_authentication_method(Answer &answer, AuthAnswer &record) {
    const auto next = find(answer.message, {"next-authentication"});
    if (!next)
        return missing_authentication(record, next.error());
    append_xml(record.next_authentication, *next);
    const auto first = first_method(*next);
    if (!first)
        return missing_authentication(record, first.error());
    const MethodRow *row = choose_method(*first, answer.dialect.oauth);
    if (row == nullptr)
        return {ERROR_CODE_AUTH_NOT_SUPPORTED};
    if (const auto read = row->read(*next, record.auth); !read)
        return missing_authentication(record, read.error());
    record.auth.method = row->method;
    if (row->code == ERROR_CODE_AUTH_BLOCKED)
        set_method(record, row->id);
    return {row->code};
}

BrokerResult missing_authentication(AuthAnswer &record, std::string_view tag) {
    record.auth = {};
    return missing_tag("Authentication handler", tag);
}

void set_method(AuthAnswer &record, std::string_view keyword) {
    record.auth.method = find_row<MethodRow>(method_rows, keyword)->method;
    record.next_authentication =
        "<next-authentication>\r\n<authentication-methods>\r\n<method>" + std::string(keyword) +
        "</method>\r\n</authentication-methods>\r\n</next-authentication>\r\n";
}

} // namespace kavro
