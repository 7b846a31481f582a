"""What only Python has: signals, exceptions of callbacks, asyncio, and what prints itself."""

import asyncio
import os
import signal
import socket
import time
import unittest

import kavro_broker
from kavro_broker import AsyncBroker, Broker

SECRET = "canary"
on_line = None


class Ways(unittest.TestCase):
    """Each with a broker that takes connections and is silent then."""

    @classmethod
    def setUpClass(cls):
        kavro_broker.set_log_function(lambda message: on_line(message.text))

    def setUp(self):
        self.listen(lambda text: None)
        silent = self.enterContext(socket.create_server(("127.0.0.1", 0)))
        self.port = str(silent.getsockname()[1])
        self.begin = time.monotonic()

    def tearDown(self):
        self.assertLess(time.monotonic() - self.begin, 20, "waited for the broker")

    def listen(self, function):
        global on_line
        on_line = function

    def asking(self, kind):
        broker = self.enterContext(kind())
        broker.set_broker_address("127.0.0.1", self.port)
        broker.set_client_info("ways", "1.0", "test")
        return broker

    def when_it_waits(self, act):
        self.listen(lambda text: act() if text.startswith("Deadline Timer timeout") else None)

    def test_a_signal_ends_a_request(self):
        broker = self.asking(Broker)
        self.when_it_waits(lambda: os.kill(os.getpid(), signal.SIGINT))
        self.assertRaises(KeyboardInterrupt, broker.auth_method)
        self.listen(lambda text: None)
        self.assertIn("ERR_CANCELLED", broker.request_report())

    def test_an_exception_of_a_callback_is_raised(self):
        broker = self.asking(Broker)

        def fail():
            broker.cancel()
            raise ZeroDivisionError

        self.when_it_waits(fail)
        self.assertRaises(ZeroDivisionError, broker.auth_method)
        self.listen(lambda text: None)
        self.assertEqual(broker.certificate_error_text(), "")

    def test_cancellation_cancels(self):
        async def ask():
            broker = self.asking(AsyncBroker)
            first = asyncio.ensure_future(broker.auth_method())
            loop = asyncio.get_running_loop()
            self.when_it_waits(lambda: loop.call_soon_threadsafe(first.cancel))
            results = await asyncio.gather(first, asyncio.wait_for(broker.request_desktop_list(), 0.1),
                                           return_exceptions=True)
            self.assertEqual([type(result).__name__ for result in results],
                             ["CancelledError", "TimeoutError"])
            self.assertIn("ERR_CANCELLED", broker.request_report())
        asyncio.run(ask())

    def test_nothing_secret_is_printed(self):
        target = kavro_broker.Target("a", "b", "c", "d")
        ticket = kavro_broker.GatewayTicket(SECRET, "then", "later")
        variables = [kavro_broker.Variable("name", SECRET)]
        printed = repr([
            kavro_broker.DesktopConnection(target, "id", SECRET, False, ticket, variables, []),
            kavro_broker.DialogField("pin", "PIN", SECRET, False, True, False,
                                     kavro_broker.TextType.TEXT)])
        self.assertNotIn(SECRET, printed)


if __name__ == "__main__":
    unittest.main()
