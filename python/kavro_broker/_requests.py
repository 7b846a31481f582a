"""How what blocks is run: with signals handled meanwhile, and under asyncio."""

from __future__ import annotations

import asyncio
import functools
import threading
from concurrent.futures import ThreadPoolExecutor, wait
from contextlib import suppress
from typing import TYPE_CHECKING, Any, Callable, Coroutine, Optional, Protocol, TypeVar

if TYPE_CHECKING:
    from typing_extensions import Concatenate, ParamSpec

    P = ParamSpec("P")
    T = TypeVar("T")
    Asked = TypeVar("Asked", bound="Cancellable")

# How often a cancel is said: one that meets no request yet is forgotten.
_PATIENCE = 0.05  # seconds


class Cancellable(Protocol):
    """What can be asked something that takes its time."""

    def cancel(self) -> None:
        """Ends the request that is under way, on whatever thread."""


def request(method: Callable[Concatenate[Asked, P], T]) -> Callable[Concatenate[Asked, P], T]:
    """A method that blocks. Python calls handlers of signals on its main thread only, and not while that
    is inside the library: there, the method runs on a thread beside it. What a handler raises, as Ctrl-C
    does, cancels the request and is raised as soon as that has ended."""
    @functools.wraps(method)
    def ask(self: Asked, /, *arguments: P.args, **named: P.kwargs) -> T:
        call = functools.partial(method, self, *arguments, **named)
        if threading.current_thread() is not threading.main_thread():
            return call()
        with ThreadPoolExecutor(1) as aside:
            running = aside.submit(call)
            try:
                while not wait([running], 0.1).done:  # without a limit, Windows would not be interrupted
                    pass
            except BaseException:
                while not wait([running], _PATIENCE).done:
                    self.cancel()
                raise
            return running.result()
    return ask


class TakesTurns:
    """What asks one after the other, whoever awaits it."""

    _turn: Optional[asyncio.Lock] = None

    def turn(self) -> asyncio.Lock:
        """Made where there is a loop, which Python 3.9 binds it to."""
        self._turn = self._turn or asyncio.Lock()
        return self._turn

    def cancel(self) -> None:
        raise NotImplementedError


def awaited(method: Callable[Concatenate[Any, P], T]
            ) -> Callable[Concatenate[Any, P], Coroutine[Any, Any, T]]:
    """The same request as a coroutine. Cancelling it, by a time-out or otherwise, cancels the request and
    waits for its end, so that the next one finds the connection free."""
    @functools.wraps(method)
    async def ask(self: TakesTurns, /, *arguments: P.args, **named: P.kwargs) -> T:
        call = functools.partial(method, self, *arguments, **named)
        async with self.turn():
            with ThreadPoolExecutor(1) as aside:
                running = asyncio.get_running_loop().run_in_executor(aside, call)
                try:
                    return await asyncio.shield(running)
                except asyncio.CancelledError:
                    while not running.done():
                        self.cancel()
                        with suppress(asyncio.CancelledError):
                            await asyncio.wait([running], timeout=_PATIENCE)
                    running.exception()  # looked at, so that nobody complains of it
                    raise
    return ask
