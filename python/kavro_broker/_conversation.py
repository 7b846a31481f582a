"""One conversation with a broker, but for its requests: settings, and what the last requests brought."""

from ctypes import cast
from typing import Any, Callable, List, Optional, Sequence, Tuple

from ._callbacks import keeping
from ._exports import BrokerType, Result, kavro_broker_message_function
from ._library import Error, Owned, check, encode, library, make, read_each, read_text, read_texts
from ._process import LogMessage
from ._records import (BrokerInfo, Certificate, Dialog, Variable, VariableList, read_certificate,
                       read_dialog_button, read_dialog_field, read_variables)
from ._signing import Sign, SignByScheme, digest_signer, scheme_signer


class Conversation(Owned):
    """What Broker and AsyncBroker share. A setting holds from the next request on."""

    def __init__(self, type_code: int = BrokerType.KAVRO) -> None:
        super().__init__(make(library.kavro_broker_create, type_code), library.kavro_broker_free)
        self._callbacks: List[Any] = []  # until the end: which one the library still holds is its own affair

    # Settings

    def set_broker_address(self, address: str, port: str = "") -> None:
        """Where the broker is: a name, an address, an https URL, or a registration code."""
        check(library.kavro_broker_set_broker_address(self.handle, encode(address), encode(port)))

    def set_broker_variant(self, variant: int) -> None:
        """What the address is, a BrokerVariant."""
        check(library.kavro_broker_set_broker_variant(self.handle, variant))

    def set_client_info(self, product_name: str, product_version: str, platform: str) -> None:
        """What the program says of itself in its hello."""
        check(library.kavro_broker_set_client_info(self.handle, encode(product_name),
                                                   encode(product_version), encode(platform)))

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
        if not 0 <= seconds <= 0xFFFF:
            raise ValueError(seconds)
        check(library.kavro_broker_set_connect_to_desktop_timeout(self.handle, seconds))

    def set_message_function(self, function: Optional[Callable[[LogMessage], object]]) -> None:
        """`function` gets every LogMessage of this conversation; with None the process's gets them."""
        def deliver(_: object, category: int, severity: int, error: int, text: bytes) -> None:
            assert function is not None
            function(LogMessage(category, severity, error, text.decode()))

        self._callbacks.append(kavro_broker_message_function(keeping(deliver, None)) if function
                               else cast(0, kavro_broker_message_function))
        check(library.kavro_broker_set_message_function(self.handle, self._callbacks[-1], None))

    def keep_connection(self, idle_seconds: int) -> None:
        """Keeps the connection between requests for so long, at most 300 s; 0 keeps none."""
        check(library.kavro_broker_keep_connection(self.handle, min(idle_seconds, 0xFFFFFFFF)))

    def set_time_limit(self, limit: int, seconds: float) -> None:
        """Sets a TimeLimit, from a tenth of a second to an hour."""
        milliseconds = round(seconds * 1000)
        check(library.kavro_broker_set_time_limit(self.handle, limit,
                                                  min(milliseconds, 0xFFFFFFFF)))

    def set_proxy(self, proxy: str, user: str = "", password: str = "") -> None:
        """The way to the broker: "none", "system", or a proxy's URL."""
        check(library.kavro_broker_set_proxy(self.handle, encode(proxy), encode(user), encode(password)))

    def fail_if_unverified(self, fail: bool) -> None:
        """Whether a broker that is not trusted is left. False is for test brokers."""
        check(library.kavro_broker_fail_if_unverified(self.handle, fail))

    def enable_ipv6(self, enable: bool) -> None:
        """Has no effect on brokers that take either kind of address as it comes."""
        library.kavro_broker_enable_ipv6(self.handle, enable)

    def enable_oauth(self, enable: bool) -> None:
        """Offers the broker to authenticate the user by OAuth."""
        check(library.kavro_broker_enable_oauth(self.handle, enable))

    def add_trust_anchor(self, der: bytes) -> None:
        """Trusts a certificate as an issuer, besides the system's."""
        check(library.kavro_broker_add_trust_anchor(self.handle, der, len(der)))

    def add_key_pin(self, sha256: bytes) -> None:
        """Pins a key by the SHA-256 over its SubjectPublicKeyInfo (RFC 7469 section 2.4)."""
        check(library.kavro_broker_add_key_pin(self.handle, sha256, len(sha256)))

    def clear_key_pins(self) -> None:
        """Forgets all keys that were pinned."""
        check(library.kavro_broker_clear_key_pins(self.handle))

    def use_platform_verifier(self, use: bool) -> None:
        """Whether the platform's own judgement counts beside the library's, where there is one."""
        check(library.kavro_broker_use_platform_verifier(self.handle, use))

    def require_stapled_status(self, require: bool) -> None:
        """Whether a broker must show its certificate's status (RFC 6066 section 8)."""
        check(library.kavro_broker_require_stapled_status(self.handle, require))

    def use_signing_certificate(self, der: bytes, sign: Sign) -> None:
        """`sign` gives the signature of a digest, both as bytes, or None when it cannot be made."""
        self._sign_with(library.kavro_broker_use_signing_certificate, der, digest_signer(sign))

    def use_signing_key(self, certificates: bytes, sign: SignByScheme) -> None:
        """`certificates`: one in DER form, or several in PEM form. `sign` gives the signature, by a TLS
        SignatureScheme (RFC 8446 section 4.2.3), of a digest, or None when it cannot be made."""
        self._sign_with(library.kavro_broker_use_signing_key, certificates, scheme_signer(sign))

    def set_client_certificate(self, der: bytes, sign: Sign) -> None:
        """The older form of use_signing_certificate()."""
        self._sign_with(library.kavro_broker_set_client_certificate, der, digest_signer(sign))

    # What the last requests brought

    def broker_error_message(self) -> str:
        """What the broker said of the last request that failed."""
        return read_text(library.kavro_broker_get_broker_error_message, self.handle)

    def request_report(self) -> str:
        """What became of the last request, as a JSON text."""
        return read_text(library.kavro_broker_get_request_report, self.handle)

    def broker_info(self) -> BrokerInfo:
        """What the broker said of itself."""
        return BrokerInfo(*read_texts(
            3, lambda *out: library.kavro_broker_get_broker_info(self.handle, *out)))

    def resolved_broker_address(self) -> str:
        """The address that the last connection was asked to go to, after a registration code was looked up."""
        return read_text(library.kavro_broker_get_resolved_broker_address, self.handle)

    def hello_broker_variables(self) -> List[Variable]:
        """Names and values of the broker's hello."""
        return read_variables(library.kavro_broker_get_num_hello_broker_variables,
                              library.kavro_broker_get_hello_broker_variable, self.handle)

    def auth_domains(self) -> List[str]:
        """The domains that the user may choose from."""
        return read_each(library.kavro_broker_get_num_auth_domains, self.handle, lambda index: read_text(
            library.kavro_broker_get_auth_domain, self.handle, index))

    def auth_to_client_variables(self) -> List[Variable]:
        """Names and values that came with the log-in."""
        return read_variables(library.kavro_broker_get_num_auth_to_client_variables,
                              library.kavro_broker_get_auth_to_client_variable, self.handle)

    def auth_dialog(self) -> Dialog:
        """The form that the broker wants filled in, after AuthMethod.DIALOG."""
        return Dialog(
            read_text(library.kavro_broker_get_auth_dialog_prompt_text, self.handle),
            read_text(library.kavro_broker_get_auth_dialog_error_text, self.handle),
            read_each(library.kavro_broker_get_auth_dialog_get_num_fields, self.handle,
                      lambda index: read_dialog_field(self.handle, index)),
            read_each(library.kavro_broker_get_auth_dialog_get_num_buttons, self.handle,
                      lambda index: read_dialog_button(self.handle, index)))

    def disclaimer_text(self) -> str:
        """What the user is to accept, after AuthMethod.DISCLAIMER."""
        return read_text(library.kavro_broker_get_disclaimer_text, self.handle)

    def certificates(self) -> List[Certificate]:
        """The broker's chain, its own certificate first."""
        return read_each(library.kavro_broker_get_num_certificates, self.handle,
                         lambda index: read_certificate(self.handle, index))

    def certificate_error_text(self) -> str:
        """Why the broker's certificate was not accepted; empty when it was."""
        return read_text(library.kavro_broker_get_certificate_error_text, self.handle)

    def cancel(self) -> None:
        """Ends the request that is under way, which raises ERR_CANCELLED. On any thread."""
        library.kavro_broker_cancel(self.handle)

    def _request(self, result: int) -> None:
        if result != Result.OK:
            raise Error(result, self.broker_error_message())

    def _sign_with(self, use: Callable[..., int], certificates: bytes, signer: Any) -> None:
        self._callbacks.append(signer)
        check(use(self.handle, certificates, len(certificates), signer, None))
