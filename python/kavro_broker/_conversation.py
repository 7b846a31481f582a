"""One conversation with a broker, but for its requests."""

from ctypes import cast
from typing import Any, Callable, List, Optional

from ._callbacks import keeping
from ._exports import BrokerType, Result, kavro_broker_message_function
from ._library import Error, check, library, make, read_each, read_text
from ._plain import Plain
from ._process import LogMessage
from ._records import Certificate, Dialog, read_certificate, read_dialog_button, read_dialog_field
from ._signing import Sign, SignByScheme, digest_signer, scheme_signer


class Conversation(Plain):
    """What Broker and AsyncBroker share. A setting holds from the next request on."""

    def __init__(self, type_code: int = BrokerType.KAVRO) -> None:
        super().__init__(make(library.kavro_broker_create, type_code), library.kavro_broker_free)
        self._callbacks: List[Any] = []  # until the end: which one the library still holds is its own affair

    def set_message_function(self, function: Optional[Callable[[LogMessage], object]]) -> None:
        """`function` gets every LogMessage of this conversation; with None the process's gets them."""
        def deliver(_: object, category: int, severity: int, error: int, text: bytes) -> None:
            assert function is not None
            function(LogMessage(category, severity, error, text.decode()))

        self._callbacks.append(kavro_broker_message_function(keeping(deliver, None)) if function
                               else cast(0, kavro_broker_message_function))
        check(library.kavro_broker_set_message_function(self.handle, self._callbacks[-1], None))

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

    def auth_dialog(self) -> Dialog:
        """The form that the broker wants filled in, after AuthMethod.DIALOG."""
        return Dialog(
            read_text(library.kavro_broker_get_auth_dialog_prompt_text, self.handle),
            read_text(library.kavro_broker_get_auth_dialog_error_text, self.handle),
            read_each(library.kavro_broker_get_auth_dialog_get_num_fields, self.handle,
                      lambda index: read_dialog_field(self.handle, index)),
            read_each(library.kavro_broker_get_auth_dialog_get_num_buttons, self.handle,
                      lambda index: read_dialog_button(self.handle, index)))

    def certificates(self) -> List[Certificate]:
        """The broker's chain, its own certificate first."""
        return read_each(library.kavro_broker_get_num_certificates, self.handle,
                         lambda index: read_certificate(self.handle, index))

    def cancel(self) -> None:
        """Ends the request that is under way, which raises ERR_CANCELLED. On any thread."""
        library.kavro_broker_cancel(self.handle)

    def _request(self, result: int) -> None:
        if result != Result.OK:
            raise Error(result, self.broker_error_message())

    def _sign_with(self, use: Callable[..., int], certificates: bytes, signer: Any) -> None:
        self._callbacks.append(signer)
        check(use(self.handle, certificates, len(certificates), signer, None))
