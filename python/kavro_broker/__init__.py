"""Conversations with connection brokers, through the broker_client library.

A function is called as in the C interface, without "kavro_broker_" and "get_", and does what is
documented there. What comes out is returned, a result other than OK is raised as Error. As in C, a text
that a user typed goes through escape_text() on its way into a request, and a log function is set before
the first Broker is made.

AsyncBroker is the same for asyncio. What a callback raises is raised by the call that it came from.

The library is the one that KAVRO_BROKER_LIBRARY names, else the one that lies in the package, as a wheel
has it, else the one that the system's loader finds.
"""

from ._broker import AsyncBroker, Broker, FoundType, TypeFinder
from ._exports import (AuthMethod, BrokerType, BrokerVariant, CertificateVerdict, ConnectionProperty,
                       DialogFieldKind, LogCategory, LogSeverity, Operation, Result, TextType,
                       TimeLimit)
from ._library import Error
from ._plain import (escape_text, result_name, result_text, set_cache_file_location, set_log_level,
                     version)
from ._process import LogMessage, set_log_function, set_session_log_id_function
from ._records import (BrokerInfo, Certificate, Desktop, DesktopConnection, Dialog, DialogButton,
                       DialogField, GatewayTicket, Target, Variable, VariableList)

__all__ = [
    "AsyncBroker", "AuthMethod", "Broker", "BrokerInfo", "BrokerType", "BrokerVariant", "Certificate",
    "CertificateVerdict", "ConnectionProperty", "Desktop", "DesktopConnection", "Dialog", "DialogButton",
    "DialogField", "DialogFieldKind", "Error", "FoundType", "GatewayTicket", "LogCategory", "LogMessage",
    "LogSeverity", "Operation", "Result", "Target", "TextType", "TimeLimit", "TypeFinder", "Variable",
    "VariableList", "escape_text", "result_name", "result_text", "set_cache_file_location",
    "set_log_function", "set_log_level", "set_session_log_id_function", "version"
]
