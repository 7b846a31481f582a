"""Signatures that Python makes, on a smart card say."""

from ctypes import memmove, string_at
from typing import Any, Callable, Optional

from ._callbacks import keeping
from ._exports import kavro_broker_sign_function, kavro_broker_sign_scheme_function

Sign = Callable[[bytes], Optional[bytes]]
SignByScheme = Callable[[int, bytes], Optional[bytes]]


def _put(made: Optional[bytes], signature: Any, length: Any) -> bool:
    """Whether it was made, and there is room for it."""
    if made is None or len(made) > length[0]:
        return False
    memmove(signature, made, len(made))
    length[0] = len(made)
    return True


def digest_signer(sign: Sign) -> Any:
    def deliver(_: object, digest: Any, digest_length: int, signature: Any, length: Any) -> int:
        return int(_put(sign(string_at(digest, digest_length)), signature, length))

    return kavro_broker_sign_function(keeping(deliver, 0))


def scheme_signer(sign: SignByScheme) -> Any:
    def deliver(_: object, scheme: int, digest: Any, digest_length: int, signature: Any,
                length: Any) -> int:
        return int(not _put(sign(scheme, string_at(digest, digest_length)), signature, length))

    return kavro_broker_sign_scheme_function(keeping(deliver, 1))
