"""A whole conversation with a broker in Python: log in with a password, list the desktops, ask for the
first one, log out.

  conversation.py ADDRESS PORT USER DOMAIN < file with the password
"""

import sys

import kavro_broker
from kavro_broker import AuthMethod, LogSeverity, Result, escape_text


def print_errors(message):
    if message.severity == LogSeverity.ERROR:
        print("log:", message.text, file=sys.stderr)


def log_in(broker, user, domain, password):
    """Answers what the broker asks for, until it asks for nothing more."""
    while method := broker.auth_method():
        if method == AuthMethod.DISCLAIMER:
            broker.send_accept_disclaimer(True)
        elif method == AuthMethod.PASSWORD:
            broker.send_password(escape_text(user), escape_text(domain), escape_text(password))
        else:
            raise kavro_broker.Error(Result.ERR_NOT_IMPLEMENTED)


def show_target(broker, desktop_id):
    try:
        target = broker.connect_to_desktop(desktop_id).target
        print(f"{desktop_id} waits at {target.address}, port {target.port}")
    except kavro_broker.Error as error:
        if error.code != Result.ERR_CONNECT_DESKTOP_PENDING:
            raise
        print(f"{desktop_id} is being made ready; ask again later")


def converse(address, port, user, domain, password):
    kavro_broker.set_log_function(print_errors)
    with kavro_broker.Broker() as broker:
        broker.set_broker_address(address, port)
        broker.set_client_info("conversation", "1.0", "Python")
        broker.keep_connection(60)

        log_in(broker, user, domain, password)
        desktops = broker.request_desktop_list()
        for index, desktop in enumerate(desktops):
            print(f"desktop {index}: {desktop.name}")
        if desktops:
            show_target(broker, desktops[0].id)
        broker.clear_session()


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(f"usage: {sys.argv[0]} ADDRESS PORT USER DOMAIN < PASSWORD-FILE")
    try:
        converse(*sys.argv[1:], sys.stdin.readline().rstrip("\n"))
    except kavro_broker.Error as error:
        sys.exit(f"{sys.argv[0]}: {error.name}: {error}")
