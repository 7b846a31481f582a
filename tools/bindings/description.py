"""What the C headers do not tell: what their functions and records are called elsewhere, which numbers have
names, and a sentence for each."""

from typing import NamedTuple, Optional, Tuple

# Enumerations by the words that their constants share in C.
ENUM_NAMES = {
    "": "Result",
    "AUTH_METHOD": "AuthMethod",
    "CERTIFICATE": "CertificateVerdict",
    "CONNECTION": "ConnectionProperty",
    "DIALOG_FIELD": "DialogFieldKind",
    "LIMIT": "TimeLimit",
    "LOG": "LogSeverity",
    "LOG_CATEGORY": "LogCategory",
    "OPERATION": "Operation",
    "TEXT_TYPE": "TextType",
    "TYPE": "BrokerType",
    "VARIANT": "BrokerVariant",
}
# Parameters that are numbers in C: those of an enumeration, and durations by their units in a second.
NAMED_NUMBERS = {
    "code": "Result",
    "highest_severity": "LogSeverity",
    "limit": "TimeLimit",
    "method": "AuthMethod",
    "operation": "Operation",
    "type_code": "BrokerType",
    "variant": "BrokerVariant",
}
DURATIONS = {"idle_seconds": 1, "milliseconds": 1000}
# Numbers that are 0 or 1.
FLAGS = {"finished", "flag"}
# What parameters are called where their types say more than in C.
RENAMED = {("duration", "idle_seconds"): "idle", ("duration", "milliseconds"): "time",
           ("variables", "list"): "variables", ("flag", "flag"): "accept", ("bytes", "certificate"): "der"}
# Parameters that may be left out.
OPTIONAL = {("set_broker_address", "port"), ("find_type", "port"), ("connect_to_desktop", "variables"),
            ("set_proxy", "user"), ("set_proxy", "password")}


class Field(NamedTuple):
    """Of a record. The type is "text", "flag", "bytes", an enumeration or a record, [of those], or
    ("optional", one)."""
    name: str
    type: object
    sentence: str
    secret: bool = False
    source: Optional[str] = None  # the parameter in C, if it has another name


class Record(NamedTuple):
    sentence: str
    fields: Tuple[Field, ...]
    source: Optional[str] = None  # the function that tells all of it


def texts(**fields):
    return tuple(Field(name, "text", sentence) for name, sentence in fields.items())


# What may be secret is left out wherever a record is printed.
RECORDS = {
    "Variable": Record("A name and a value, which only the two programs that exchange them understand.", (
        *texts(name="The name."),
        Field("value", "text", "The value.", secret=True))),
    "BrokerInfo": Record("What the broker said of itself in its hello.", texts(
        product_name="Its name.", product_version="Its version.", platform="What it runs on.")),
    "Target": Record("Where a desktop is.", texts(
        address="An address, or a name.", host_name="Its name.",
        server_name="The name that its certificate is for.", port="A decimal number.")),
    "GatewayTicket": Record("What opens the gateway, and when it was made and ends.", (
        Field("ticket", "text", "The ticket itself.", secret=True),
        *texts(creation="When it was made, in the broker's words.",
               expiry="When it ends, in the broker's words."))),
    "Desktop": Record("A desktop that the user may have.", (
        *texts(name="To be shown.", id="To be asked for.", type="In the broker's words.",
               state="In the broker's words.", health="In the broker's words."),
        Field("operations", ["Operation"], "Those that it offers.")), source="get_desktop"),
    "DesktopConnection": Record("A desktop that was allocated, and what opens it.", (
        Field("target", "Target", "Where it is."),
        Field("session_id", "text", "The session that it belongs to."),
        Field("connect_tag", "text", "What the target lets the client in for.", secret=True),
        Field("use_broker_address", "flag", "Whether the broker's address is to be used."),
        Field("gateway_ticket", ("optional", "GatewayTicket"), "What opens the gateway, if there is one."),
        Field("agent_variables", ["Variable"], "What the desktop's agent wants to know."),
        Field("alternate_targets", ["Target"], "Where it is as well."))),
    "DialogField": Record("A field of a log-in form.", (
        *texts(name="What the broker calls it.", label="To be shown."),
        Field("value", "text", "What stands in it.", secret=True),
        Field("read_only", "flag", "Whether it is to be shown only.", source="kind"),
        Field("hidden", "flag", "Whether what is typed is not to be shown."),
        Field("loggable", "flag", "Whether what is typed may stand in a log."),
        Field("text_type", "TextType", "What is typed; a hint for the keyboard to show.")),
        source="get_auth_dialog_field"),
    "DialogButton": Record("A button of a log-in form.", (
        *texts(id="What the broker calls it.", label="To be shown."),
        Field("is_default", "flag", "Whether it is the one for the return key.")),
        source="get_auth_dialog_button"),
    "Dialog": Record("A log-in form.", (
        *texts(prompt_text="To be shown above it.", error_text="What was wrong with the last entries."),
        Field("fields", ["DialogField"], "From top to bottom."),
        Field("buttons", ["DialogButton"], "From left to right."))),
    "Certificate": Record("A certificate of the broker's chain, and what was wrong with it.", (
        Field("der", "bytes", "Empty when the broker did not show it."),
        Field("verdict", "CertificateVerdict", "What was wrong with it."))),
    "FoundType": Record("What answers at an address.", (
        Field("type_code", "BrokerType", "What it is."),
        *texts(address="What a registration code stands for; else empty.",
               port="The one that answered."))),
    "LogMessage": Record("A line of the log.", (
        Field("category", "LogCategory", "What it is about."),
        Field("severity", "LogSeverity", "How grave it is."),
        Field("error", "number", "A number of the system's where there is one."),
        *texts(text="The line itself."))),
}


class Call(NamedTuple):
    """A function, without "kavro_broker_", that is called in every language in the way its prototype tells.
    A list has the function that counts and the record that one item is. {Enumeration.CONSTANT} in a sentence
    is written as the language does."""
    function: str
    sentence: str
    count: Optional[str] = None
    item: Optional[str] = None


PROCESS = (
    Call("get_version", "The library's name and version."),
    Call("result_name", 'The name of a result, as "KAVRO_BROKER_ERR_TIMEOUT".'),
    Call("result_text", "A sentence for a result."),
    Call("escape_text", "A text that a user typed, as it goes into a request."),
    Call("set_log_level", "Drops log messages of a higher severity from now on."),
    Call("set_cache_file_location", "The folder of the registration table's cache."),
)

SETTINGS = (
    Call("set_broker_address", "Where the broker is: a name, an address, an https URL, or a registration "
         "code; and its port, the usual one when it is empty."),
    Call("set_broker_variant", "What the address is."),
    Call("set_client_info", "What the program says of itself in its hello."),
    Call("set_locale", 'The language that the broker\'s texts shall be in, as "en_US".'),
    Call("set_timezone", "The user's time zone for desktops; the machine's, unless set."),
    Call("set_hello_client_variables", "Names and values that go into the next hello."),
    Call("set_connect_to_desktop_timeout",
         "How long an allocation may take: 0 is the default, 0xFFFF a day."),
    Call("keep_connection", "Keeps the connection between requests for so long, at most 300 s; 0 keeps none."),
    Call("set_time_limit", "Sets a limit, from a tenth of a second to an hour."),
    Call("set_proxy", 'The way to the broker: "none", "system", or a proxy\'s URL; and a log-in, unless the '
         "user is empty."),
    Call("fail_if_unverified", "Whether a broker that is not trusted is left. False is for test brokers."),
    Call("enable_ipv6", "Has no effect on brokers that take either kind of address as it comes."),
    Call("enable_oauth", "Offers the broker to authenticate the user by OAuth."),
    Call("add_trust_anchor", "Trusts a certificate in DER form as an issuer, besides the system's."),
    Call("add_key_pin",
         "Pins a key by the SHA-256 over its SubjectPublicKeyInfo (RFC 7469 section 2.4)."),
    Call("clear_key_pins", "Forgets all keys that were pinned."),
    Call("use_platform_verifier",
         "Whether the platform's own judgement counts beside the library's, where there is one."),
    Call("require_stapled_status",
         "Whether a broker must show its certificate's status (RFC 6066 section 8)."),
)

REQUESTS = (
    Call("get_auth_method", "What the broker asks for next; {AuthMethod.NONE} once the user is logged in."),
    Call("send_password", "Answers {AuthMethod.PASSWORD}."),
    Call("send_new_password", "Answers {AuthMethod.PASSWORD_EXPIRED}. The new password goes to the library "
         "twice; asking the user twice is the caller's."),
    Call("send_auth_dialog", "Answers {AuthMethod.DIALOG}: the button that was pressed, and names and values "
         "of the fields."),
    Call("send_accept_disclaimer", "Answers {AuthMethod.DISCLAIMER}."),
    Call("send_oauth_code", "Answers {AuthMethod.OAUTH}."),
    Call("send_securid_auth", "Answers {AuthMethod.SECURID}."),
    Call("send_securid_token", "Answers {AuthMethod.SECURID_NEXT_TOKEN}."),
    Call("send_securid_pinchange", "Answers {AuthMethod.SECURID_NEW_PIN}."),
    Call("send_securid_wait", "Answers {AuthMethod.SECURID_WAIT}."),
    Call("send_certificate_confirmation", "Is for kinds of broker that ask about certificates."),
    Call("request_desktop_list", "The desktops that the user may have."),
    Call("connect_to_desktop",
         "Allocates a desktop. One that is still being made ready is {Result.ERR_CONNECT_DESKTOP_PENDING}."),
    Call("perform_desktop_operation", "Powers a desktop up or down. An operation that there is none of is "
         "{Result.ERR_INVALID_PARAMETER}, where the C function stops the process."),
    Call("clear_session", "Logs out."),
)

ANSWERS = (
    Call("get_broker_error_message", "What the broker said of the last request that failed."),
    Call("get_request_report", "What became of the last request, as a JSON text."),
    Call("get_broker_info", "What the broker said of itself.", item="BrokerInfo"),
    Call("get_resolved_broker_address", "The address that the last connection was asked to go to, after a "
         "registration code was looked up."),
    Call("get_hello_broker_variable", "Names and values of the broker's hello.",
         "get_num_hello_broker_variables", "Variable"),
    Call("get_auth_domain", "The domains that the user may choose from.", "get_num_auth_domains"),
    Call("get_auth_to_client_variable", "Names and values that came with the log-in.",
         "get_num_auth_to_client_variables", "Variable"),
    Call("get_disclaimer_text", "What the user is to accept, after {AuthMethod.DISCLAIMER}."),
    Call("get_certificate_error_text",
         "Why the broker's certificate was not accepted; empty when it was."),
)

# What a Dialog is made of.
FORM = (
    Call("get_auth_dialog_prompt_text", "The text above the form of the log-in."),
    Call("get_auth_dialog_error_text", "What was wrong with the last entries of the form."),
    Call("get_auth_dialog_field", "The fields of the form.", "get_auth_dialog_get_num_fields", "DialogField"),
    Call("get_auth_dialog_button", "The buttons of the form.", "get_auth_dialog_get_num_buttons",
         "DialogButton"),
)

SEARCHES = (
    Call("find_type", "What answers at an address."),
)

FINDER = (
    Call("get_type", "Whether a search has run to its end."),
)
