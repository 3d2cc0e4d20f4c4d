"""A terminal that a Windows program runs in: what it shows at each moment, and what is typed into it."""
import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import tempfile
import termios
import time
import tty

from windows import BUILD, ROOT, TIMEOUT

COLUMNS = 80
ROWS = 50
# Text, one control character, or one control sequence as far as it has arrived.
PIECE = re.compile(r"[^\x00-\x1f]+|\x1b\[([?]?[0-9;]*)([@-~])|[\x00-\x1a\x1c-\x1f]")


class Screen:
    """The little of a terminal that Wine's console asks for. What it does not know fails the test."""

    def __init__(self):
        self.rows = [[" "] * COLUMNS for _ in range(ROWS)]
        self.row = 0
        self.column = 0
        self.waiting = ""

    def feed(self, text):
        text = self.waiting + text
        end = 0
        while piece := PIECE.match(text, end):
            end = piece.end()
            if piece[2]:
                self._control(piece[1], piece[2])
            else:
                self._put(piece[0])
        self.waiting = text[end:]

    def _put(self, text):
        if text == "\r":
            self.column = 0
        elif text == "\n":
            self.row += 1
        elif text == "\b":
            self.column -= 1
        else:
            for character in text:
                if self.column == COLUMNS:
                    self.row, self.column = self.row + 1, 0
                self.rows[self.row][self.column] = character
                self.column += 1

    def _control(self, parameters, command):
        numbers = [int(number or 0) for number in parameters.lstrip("?").split(";")]
        if command == "K":
            self.rows[self.row][self.column:] = [" "] * (COLUMNS - self.column)
        elif command == "H":
            self.row, self.column = max(numbers[0], 1) - 1, max(numbers[-1] if len(numbers) > 1 else 1, 1) - 1
        elif command in "ABCD":
            step = max(numbers[0], 1)
            self.row += {"A": -step, "B": step}.get(command, 0)
            self.column += {"C": step, "D": -step}.get(command, 0)
        elif command not in "hlmn":
            raise AssertionError(f"the terminal does not know {parameters}{command}")

    def lines(self):
        lines = ["".join(row).rstrip() for row in self.rows]
        while lines and not lines[-1]:
            lines.pop()
        return lines


class Terminal:
    """Runs a Windows program in a terminal of its own. seen holds what the screen has shown, one after the other."""

    def __init__(self, program, *arguments):
        self.screen = Screen()
        self.seen = []
        self.terminal, inner = pty.openpty()
        # The console edits the line itself; Wine leaves the terminal's own editing on.
        tty.setraw(inner)
        fcntl.ioctl(inner, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, COLUMNS, 0, 0))
        self.errors = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            [ROOT / "cmake" / "wine", program, *arguments], stdin=inner, stdout=inner, stderr=self.errors,
            cwd=BUILD, env={**os.environ, "TERM": "xterm", "LC_ALL": "C.UTF-8"}, start_new_session=True)
        os.close(inner)
        self.deadline = time.monotonic() + TIMEOUT

    def _read(self):
        """One portion of output. False when the program has closed its terminal."""
        ready, _, _ = select.select([self.terminal], [], [], max(0, self.deadline - time.monotonic()))
        if not ready:
            raise AssertionError("the program takes too long; its terminal shows\n" + "\n".join(self.screen.lines()))
        try:
            portion = os.read(self.terminal, 65536)
        except OSError:
            portion = b""
        self.screen.feed(portion.decode("utf-8"))
        self.seen.append(self.screen.lines())
        return bool(portion)

    def wait_for(self, text):
        while not any(text in line for line in self.screen.lines()):
            if not self._read():
                raise AssertionError(f'ended without "{text}"; its terminal shows\n' + "\n".join(self.screen.lines()))

    def type(self, keys):
        os.write(self.terminal, keys.encode())

    def wait(self):
        """The exit code, as the build host sees it."""
        while self._read():
            pass
        return self.process.wait(TIMEOUT)

    def err_text(self):
        """What it has written to standard error, which is not this terminal."""
        self.errors.seek(0)
        return b"".join(line for line in self.errors if not line.startswith(b"wine: ")).decode("utf-8")

    def close(self):
        self.errors.close()
        os.close(self.terminal)
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
