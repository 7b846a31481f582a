"""Calls that are no more than their prototype says. Written by tools/bindings/generate.py; not to be edited."""

from typing import List, Sequence, Tuple

from ._library import (Owned, check, encode, fitting, library, read_each, read_text, read_texts, units)
from ._records import BrokerInfo, Variable, VariableList


class Plain(Owned):
    """Settings, and what the last requests brought."""

    def set_broker_address(self, address: str, port: str = "") -> None:
        """Where the broker is: a name, an address, an https URL, or a registration code; and its port, the usual one when it is empty."""
        check(library.kavro_broker_set_broker_address(self.handle, encode(address), encode(port)))

    def set_broker_variant(self, variant: int) -> None:
        """What the address is."""
        check(library.kavro_broker_set_broker_variant(self.handle, variant))

    def set_client_info(self, product_name: str, product_version: str, platform: str) -> None:
        """What the program says of itself in its hello."""
        check(library.kavro_broker_set_client_info(self.handle, encode(product_name), encode(product_version), encode(platform)))

    def set_locale(self, locale: str) -> None:
        """The language that the broker's texts shall be in, as "en_US"."""
        check(library.kavro_broker_set_locale(self.handle, encode(locale)))

    def set_timezone(self, timezone: str) -> None:
        """The user's time zone for desktops; the machine's, unless set."""
        check(library.kavro_broker_set_timezone(self.handle, encode(timezone)))

    def set_hello_client_variables(self, variables: Sequence[Tuple[str, str]]) -> None:
        """Names and values that go into the next hello."""
        with VariableList(variables) as copied:
            check(library.kavro_broker_set_hello_client_variables(self.handle, copied.handle))

    def set_connect_to_desktop_timeout(self, seconds: int) -> None:
        """How long an allocation may take: 0 is the default, 0xFFFF a day."""
        check(library.kavro_broker_set_connect_to_desktop_timeout(self.handle, fitting(seconds, 0xFFFF)))

    def keep_connection(self, idle_seconds: int) -> None:
        """Keeps the connection between requests for so long, at most 300 s; 0 keeps none."""
        check(library.kavro_broker_keep_connection(self.handle, units(idle_seconds, 1)))

    def set_time_limit(self, limit: int, seconds: float) -> None:
        """Sets a limit, from a tenth of a second to an hour."""
        check(library.kavro_broker_set_time_limit(self.handle, limit, units(seconds, 1000)))

    def set_proxy(self, proxy: str, user: str = "", password: str = "") -> None:
        """The way to the broker: "none", "system", or a proxy's URL; and a log-in, unless the user is empty."""
        check(library.kavro_broker_set_proxy(self.handle, encode(proxy), encode(user), encode(password)))

    def fail_if_unverified(self, fail: bool) -> None:
        """Whether a broker that is not trusted is left. False is for test brokers."""
        check(library.kavro_broker_fail_if_unverified(self.handle, bool(fail)))

    def enable_ipv6(self, enable: bool) -> None:
        """Has no effect on brokers that take either kind of address as it comes."""
        library.kavro_broker_enable_ipv6(self.handle, bool(enable))

    def enable_oauth(self, enable: bool) -> None:
        """Offers the broker to authenticate the user by OAuth."""
        check(library.kavro_broker_enable_oauth(self.handle, bool(enable)))

    def add_trust_anchor(self, der: bytes) -> None:
        """Trusts a certificate in DER form as an issuer, besides the system's."""
        check(library.kavro_broker_add_trust_anchor(self.handle, der, len(der)))

    def add_key_pin(self, sha256: bytes) -> None:
        """Pins a key by the SHA-256 over its SubjectPublicKeyInfo (RFC 7469 section 2.4)."""
        check(library.kavro_broker_add_key_pin(self.handle, sha256, len(sha256)))

    def clear_key_pins(self) -> None:
        """Forgets all keys that were pinned."""
        check(library.kavro_broker_clear_key_pins(self.handle))

    def use_platform_verifier(self, use: bool) -> None:
        """Whether the platform's own judgement counts beside the library's, where there is one."""
        check(library.kavro_broker_use_platform_verifier(self.handle, bool(use)))

    def require_stapled_status(self, require: bool) -> None:
        """Whether a broker must show its certificate's status (RFC 6066 section 8)."""
        check(library.kavro_broker_require_stapled_status(self.handle, bool(require)))

    def broker_error_message(self) -> str:
        """What the broker said of the last request that failed."""
        return read_text(library.kavro_broker_get_broker_error_message, self.handle)

    def request_report(self) -> str:
        """What became of the last request, as a JSON text."""
        return read_text(library.kavro_broker_get_request_report, self.handle)

    def broker_info(self) -> BrokerInfo:
        """What the broker said of itself."""
        return BrokerInfo(*read_texts(3, lambda *out: library.kavro_broker_get_broker_info(self.handle, *out)))

    def resolved_broker_address(self) -> str:
        """The address that the last connection was asked to go to, after a registration code was looked up."""
        return read_text(library.kavro_broker_get_resolved_broker_address, self.handle)

    def hello_broker_variables(self) -> List[Variable]:
        """Names and values of the broker's hello."""
        return read_each(library.kavro_broker_get_num_hello_broker_variables, self.handle,
                         lambda index: Variable(*read_texts(2, lambda *out: library.kavro_broker_get_hello_broker_variable(self.handle, index, *out))))

    def auth_domains(self) -> List[str]:
        """The domains that the user may choose from."""
        return read_each(library.kavro_broker_get_num_auth_domains, self.handle,
                         lambda index: read_text(library.kavro_broker_get_auth_domain, self.handle, index))

    def auth_to_client_variables(self) -> List[Variable]:
        """Names and values that came with the log-in."""
        return read_each(library.kavro_broker_get_num_auth_to_client_variables, self.handle,
                         lambda index: Variable(*read_texts(2, lambda *out: library.kavro_broker_get_auth_to_client_variable(self.handle, index, *out))))

    def disclaimer_text(self) -> str:
        """What the user is to accept, after AuthMethod.DISCLAIMER."""
        return read_text(library.kavro_broker_get_disclaimer_text, self.handle)

    def certificate_error_text(self) -> str:
        """Why the broker's certificate was not accepted; empty when it was."""
        return read_text(library.kavro_broker_get_certificate_error_text, self.handle)


def version() -> str:
    """The library's name and version."""
    return str(library.kavro_broker_get_version().decode())


def result_name(code: int) -> str:
    """The name of a result, as "KAVRO_BROKER_ERR_TIMEOUT"."""
    return str(library.kavro_broker_result_name(code).decode())


def result_text(code: int) -> str:
    """A sentence for a result."""
    return str(library.kavro_broker_result_text(code).decode())


def escape_text(text: str) -> str:
    """A text that a user typed, as it goes into a request."""
    return read_text(library.kavro_broker_escape_text, encode(text))


def set_log_level(highest_severity: int) -> None:
    """Drops log messages of a higher severity from now on."""
    library.kavro_broker_set_log_level(highest_severity)


def set_cache_file_location(path: str) -> None:
    """The folder of the registration table's cache."""
    library.kavro_broker_set_cache_file_location(encode(path))
