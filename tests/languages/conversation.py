"""Carries on one conversation in Python: conversation.py ADDRESS PORT CERTIFICATE < calls > outcomes"""

import dataclasses
import json
import pathlib
import sys
from concurrent.futures import ThreadPoolExecutor, wait

import kavro_broker


class Conversation:
    """The calls that are more than one call of the package."""

    def __init__(self, address, port, certificate):
        self.address, self.port = address, port
        self.certificate = pathlib.Path(certificate).read_bytes()
        self.log, self.own_log, self.session_ids, self.digests = [], [], [], []
        kavro_broker.set_log_function(self.log.append)
        kavro_broker.set_session_log_id_function(self.session_ids.append)
        self.broker = kavro_broker.Broker()
        self.broker.set_broker_address(address, port)
        self.broker.set_client_info("languages", "1.0", "test")

    def call(self, name, *arguments):
        for place in (self, self.broker, kavro_broker):
            if hasattr(place, name):
                return getattr(place, name)(*arguments)
        raise AttributeError(name)

    def trust(self):
        self.broker.add_trust_anchor(self.certificate)

    def sign_with_zeros(self, length):
        self.broker.use_signing_certificate(
            self.certificate, lambda digest: self.digests.append(len(digest)) or bytes(length))

    def sign_by_scheme_with_zeros(self, length):
        self.broker.use_signing_key(
            self.certificate, lambda scheme, _: self.digests.append(scheme) or bytes(length))

    def digest_lengths(self):
        return self.digests

    def certificates(self):
        return [[bool(shown.der), shown.verdict] for shown in self.broker.certificates()]

    def reported_result(self):
        return json.loads(self.broker.request_report())["result"]["name"]

    def find_type(self):
        with kavro_broker.TypeFinder() as finder:
            before = finder.finished()
            found = finder.find_type_extended(self.address, self.port)
            return [finder.find_type(self.address, self.port), found.type, found.address,
                    found.port == self.port, before, finder.finished()]

    def variable_list(self, *variables):
        with kavro_broker.VariableList(variables) as copied:
            return [copied[index] for index in range(len(copied))]

    def logged(self, text):
        return any(text in message.text for message in self.log)

    def listen(self):
        self.broker.set_message_function(self.own_log.append)

    def do_not_listen(self):
        self.broker.set_message_function(None)

    def heard(self, text):
        return any(text in message.text for message in self.own_log)

    def session_ids_told(self):
        return len(self.session_ids)

    def cancelled(self, name, *arguments):
        with ThreadPoolExecutor() as other_thread:
            request = other_thread.submit(self.call, name, *arguments)
            while not wait([request], 0.01).done:
                self.broker.cancel()
            return request.result()


def main():
    conversation = Conversation(*sys.argv[1:])
    for call in json.load(sys.stdin):
        try:
            outcome = conversation.call(*call)
        except kavro_broker.Error as error:
            outcome = {"error": [error.code, error.name, error.broker_text]}
        print(json.dumps(outcome, default=dataclasses.asdict))


if __name__ == "__main__":
    main()
