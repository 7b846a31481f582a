"""The program as it is shipped, on a pseudo-terminal, against a broker that asks for a password:
terminal.py SIMULATOR CLIENT [editing], the last where lines of the shell can be edited"""

import json
import os
import pathlib
import pty
import select
import subprocess
import sys
import tempfile
import termios

SIMULATOR, CLIENT, *EDITING = sys.argv[1:]
PASSWORD = "hush-hush-4711"
SCENARIO = {"users": [{"username": "alice", "password": PASSWORD, "domain": "EXAMPLE"}],
            "domains": ["EXAMPLE"], "authentication": [{"methods": ["password"]}],
            "desktops": [{"name": "Build server", "id": "vm-1"}],
            "faults": [{"request": "get-resource-list", "nth": 3, "ending": "stall"}]}  # in the shell


class Terminal:
    """A program on a terminal of its own; the test is its user."""

    def __init__(self, command, environment):
        self.screen = ""  # everything that appeared so far
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.execve(command[0], command, environment)

    def read(self):
        """False when there is nothing more to come."""
        assert select.select([self.terminal], [], [], 20)[0], f"Nothing comes behind:\n{self.screen}"
        try:
            self.screen += os.read(self.terminal, 4096).decode(errors="replace")
            return True
        except OSError:  # the terminal's last reader is gone
            return False

    def wait_for(self, text):
        while text not in self.screen:
            assert self.read(), f"no {text!r} in:\n{self.screen}"

    def type(self, shown, typed):
        """Once the screen shows a text."""
        self.wait_for(shown)
        os.write(self.terminal, typed.encode())

    def echoes(self):
        return bool(termios.tcgetattr(self.terminal)[3] & termios.ECHO)

    def expect_exit(self, status):
        while self.read():
            pass
        ended = os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])
        assert ended == status, f"exit status {ended} behind:\n{self.screen}"
        assert self.echoes(), "the terminal is left without echo"


def check(start, folder):
    prompt = "Password for alice: "
    for no_color in "", "1":
        program = start("list", NO_COLOR=no_color)
        program.wait_for(prompt)
        assert not program.echoes()
        program.type(prompt, PASSWORD + "\n")
        program.expect_exit(0)
        assert ("\x1b[32mHEALTHY" if no_color == "" else " HEALTHY") in program.screen, program.screen
        assert PASSWORD not in program.screen, program.screen

    shell = start("shell")
    for shown, typed in ((prompt, PASSWORD + "\n"), ("kavro-broker> ", "half a comm"), ("> half a comm", "\x03"),
                         ("^C\r\nkavro-broker> ", "list\n"), (" to list the desktops", "\x03"),
                         ("Cancelled.", "help\n"), ("of one\r\nkavro-broker> ", "\x04")):
        shell.type(shown, typed)
    shell.expect_exit(130)

    if EDITING:
        state = folder / "state/kavro-broker/shell_history"
        for typed, shown, status in (("conn\tbui\t--js\t", '"id": "vm-1"', 0), ("help\n list", "vm-1", 0),
                                     ("power x --token tiger", "no option --token", 1),
                                     ("\x1b[A\x1b[A", "Leave", 0)):
            shell = start("shell")
            shell.type(prompt, PASSWORD + "\n")
            shell.type("kavro-broker> ", typed + "\nquit\n")
            shell.wait_for(shown)
            shell.expect_exit(status)
        kept = state.read_text()
        assert kept == 'list\nconnect "Build server" --json \nhelp\nquit\n', kept
        assert [path.stat().st_mode & 0o777 for path in (state, state.parent)] == [0o600, 0o700]

    begun = folder / "begun"
    for command, status, told in (("sh -c 'exit 3'", 1, "from sh: it ended with status 3."), ("true", 1, "is empty."),
                                  ("none-such", 1, "from none-such: No such"), (f"echo '{PASSWORD}'", 0, "vm-1"),
                                  (f"sh -c 'echo $$ >{begun}; echo begun >&2; sleep 60; :'", 130, "begun")):
        program = start("list", "--password-command", command)
        program.type(told, "\x03" if status == 130 else "")
        program.expect_exit(status)
        assert PASSWORD not in program.screen and prompt not in program.screen, program.screen
    assert not os.path.exists(f"/proc/{begun.read_text().strip()}"), "the command is left behind"

    interrupted = start("list")
    interrupted.type(prompt, "half a passw\x03")
    interrupted.expect_exit(130)

    stranger = start("list", SSL_CERT_FILE="/dev/null")
    stranger.type("[no]: ", "always\n")
    stranger.type(prompt, PASSWORD + "\n")
    stranger.expect_exit(0)
    known = folder / "config/kavro-broker/known_brokers"
    assert [path.stat().st_mode & 0o777 for path in (known, known.parent)] == [0o600, 0o700]


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    (folder / "scenario.json").write_text(json.dumps(SCENARIO))
    options = ["--scenario", folder / "scenario.json", "--ca-file", folder / "ca.pem"]
    with subprocess.Popen([SIMULATOR, *options], stdout=subprocess.PIPE, text=True) as simulator:
        broker = f"127.0.0.1:{json.loads(simulator.stdout.readline())['port']}"
        trust = {"SSL_CERT_FILE": str(folder / "ca.pem"), "SSL_CERT_DIR": str(folder / "none"), "TERM": "xterm",
                 "PATH": os.environ["PATH"], "XDG_CONFIG_HOME": str(folder / "config"),
                 "XDG_STATE_HOME": str(folder / "state")}
        try:
            check(lambda *command, **variables: Terminal(
                [CLIENT, *command, "--broker", broker, "--user", "alice"], {**trust, **variables}), folder)
        finally:
            simulator.terminate()
