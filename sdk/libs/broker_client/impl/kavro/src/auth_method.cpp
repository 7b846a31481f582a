#include "kavro/src/auth_method.h"

#include "kavro/src/answer.h"
#include "kavro/src/request_text.h"

#include <iterator>

namespace kavro {

namespace {

/// Offered for OAuth in place of whatever domains the broker sends.
constexpr const char *oauth_domains[] = {"KAVROLAB", "MORAVELT",
                                         "BADDOMAIN1234567890123456789012345678901234567890"};

// Each reads what its method brings along and gives the name of what is missing.
using ReadDetails = MissingTag (*)(XmlNode next, cAUTH_RESULT &auth);

MissingTag read_nothing(XmlNode, cAUTH_RESULT &) {
    return nullptr;
}

MissingTag extract_domain_list(XmlNode next, cAUTH_RESULT &auth) {
    if (const XmlNode domains = next.child("domains"))
        auth.domains = child_texts(domains, "domain");
    return auth.domains.empty() ? "domains" : nullptr;
}

MissingTag read_oauth(XmlNode, cAUTH_RESULT &auth) {
    auth.domains.assign(std::begin(oauth_domains), std::end(oauth_domains));
    return nullptr;
}

MissingTag read_disclaimer(XmlNode next, cAUTH_RESULT &auth) {
    const XmlNode disclaimer = next.child("disclaimer");
    if (!disclaimer)
        return "disclaimer";
    auth.disclaimer = disclaimer.text();
    return nullptr;
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

MissingTag read_field(XmlNode element, DialogField &field) {
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
    return nullptr;
}

MissingTag read_dialog(XmlNode next, cAUTH_RESULT &auth) {
    const XmlNode dialog = next.child("dialog-parameters");
    if (!dialog)
        return "dialog-parameters";
    auth.dialog_prompt = child_text(dialog, "prompt");
    auth.dialog_error = child_text(dialog, "error-text");
    if (const XmlNode fields = dialog.child("fields")) {
        for (XmlNode field = fields.child("field"); field; field = field.next("field")) {
            if (const MissingTag missing = read_field(field, auth.dialog_fields.emplace_back()))
                return missing;
        }
    }
    if (const XmlNode buttons = dialog.child("buttons")) {
        for_each_child(buttons, "button", [&auth](XmlNode button) {
            auth.dialog_buttons.push_back({dialog_id(button), child_text(button, "label"),
                                           child_text(button, "is-default") == "true"});
        });
    }
    return nullptr;
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
    {"AUTHENTICATION_NOT_REQUIRED", AuthMethod::none, ERROR_CODE_NONE, read_nothing},
    {"AUTHENTICATION_ALREADY_DONE", AuthMethod::none, ERROR_CODE_NONE, read_nothing},
    {"AUTHENTICATION_BLOCKED", AuthMethod::unknown, ERROR_CODE_AUTH_BLOCKED, read_nothing},
    {"AUTHENTICATION_PASSWORD_EXPIRED", AuthMethod::password_expired, ERROR_CODE_NONE,
     read_nothing},
};

/// The first of the offered methods that this client knows, or null.
const MethodRow *choose_method(XmlNode first_method, bool oauth_enabled) {
    for (XmlNode method = first_method; method; method = method.next("method")) {
        const MethodRow *row = find_row<MethodRow>(method_rows, method.text());
        if (row != nullptr && (oauth_enabled || !row->oauth_only))
            return row;
    }
    return nullptr;
}

} // namespace

BrokerResult process_authentication_method(XmlNode message, bool oauth_enabled,
                                           AuthAnswer &answer) {
    const auto missing = [&answer](MissingTag tag) {
        answer.auth = {};
        return missing_tag(authentication_handler, tag);
    };
    const XmlNode next = message.child("next-authentication");
    if (!next)
        return missing("next-authentication");
    append_xml(answer.next_authentication, next);

    XmlNode method = next.child("method");
    if (!method) {
        const XmlNode offered = next.child("authentication-methods");
        if (!offered)
            return missing("authentication-methods");
        method = offered.child("method");
        if (!method)
            return missing("method");
    }
    const MethodRow *row = choose_method(method, oauth_enabled);
    if (row == nullptr)
        return {ERROR_CODE_AUTH_NOT_SUPPORTED, {}, {}, {}};
    if (const MissingTag tag = row->read(next, answer.auth))
        return missing(tag);
    answer.auth.method = row->method;
    if (row->code == ERROR_CODE_AUTH_BLOCKED)
        answer.next_authentication = next_authentication(row->id);
    return {row->code, {}, {}, {}};
}

std::string next_authentication(std::string_view method) {
    return "<next-authentication>\r\n<authentication-methods>\r\n<method>" + std::string(method) +
           "</method>\r\n</authentication-methods>\r\n</next-authentication>\r\n";
}

SecureText authentication_method_answer(std::string_view protocol_version,
                                        std::string_view next_authentication) {
    RequestText answer(protocol_version);
    answer.open("get-authentication-method-resp")
        .line(next_authentication)
        .close("get-authentication-method-resp");
    return std::move(answer).finish();
}

} // namespace kavro
