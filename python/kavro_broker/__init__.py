"""Conversations with connection brokers, through the broker_client library.

A function is called as in the C interface, without "kavro_broker_" and "get_", and does what is
documented there. What comes out is returned, a result other than OK is raised as Error. As in C, a text
that a user typed goes through escape_text() on its way into a request, and a log function is set before
the first Broker is made.

The library is the one that KAVRO_BROKER_LIBRARY names, else the one that the system's loader finds.
"""

from ._broker import Broker, FoundType, TypeFinder
from ._exports import (AuthMethod, BrokerType, BrokerVariant, CertificateVerdict, ConnectionProperty,
                       DialogFieldKind, LogCategory, LogSeverity, Operation, Result, TextType,
                       TimeLimit)
from ._library import Error
from ._process import (LogMessage, escape_text, result_name, result_text, set_cache_file_location,
                       set_log_function, set_log_level, set_session_log_id_function, version)
from ._records import (BrokerInfo, Certificate, Desktop, DesktopConnection, Dialog, DialogButton,
                       DialogField, GatewayTicket, Target, Variable, VariableList)

__all__ = [name for name in dir() if not name.startswith("_")]
