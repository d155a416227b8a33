"""The table of comparisons: aligned, within 80 columns; differing values are repeated in full."""

from .schema import ABSENT

WIDTHS = (34, 13, 13, 11, 6)
TOOLS = ("nvme-cli", "smartctl")


class Table:
    def __init__(self):
        self.passed = self.failed = self.telling = 0
        self._message = ""
        self._tools = TOOLS

    def title(self, text):
        print(f"\n{text}")

    def header(self, tools=TOOLS):
        self._tools = tools
        print(_row("field", "orbis-host", *tools, ""))
        print("-" * 79)
        self._message = ""

    def check(self, path, ours, theirs, show=True):
        """Counts the comparisons of one field, and prints them when they are to be shown or one failed.

        THEIRS are triples: the tool, the place in its output, the correct values.
        """
        wrong = [tool for tool in theirs if not any(type(ours) is type(value) and ours == value for value in tool[2])]
        self.passed += len(theirs) - len(wrong)
        self.failed += len(wrong)
        self.telling += bool(ours) and ours != ABSENT and not wrong
        if not show and not wrong:
            return
        message, _, name = path.rpartition(".")
        if message != self._message:
            print(f"{message}:" if message else ":")
            self._message = message
        values = {tool: _alternatives(right) for tool, _, right in theirs}
        print(_row(f"  {name}" if message else name, _text(ours), *(values.get(tool, "") for tool in self._tools),
                   "FAILED" if wrong else "ok"))
        for tool, place, right in wrong:
            print(f"  ^ {path}: orbis-host has {ours!r}, {tool} ({place}) {' or '.join(map(repr, right))}")

    def require(self, statement, holds, otherwise=""):
        """Counts a statement about the whole; OTHERWISE is shown when it does not hold."""
        self.passed += bool(holds)
        self.failed += not holds
        print(f"{'ok     ' if holds else 'FAILED '} {statement}" + ("" if holds or not otherwise else f", but: {otherwise}"))

    def note(self, text):
        print(text)

    def summary(self):
        print(f"\nOf the equal fields, {self.telling} hold more than zero, false or nothing.")
        print(f"{self.passed} passed, {self.failed} failed")


def _alternatives(values):
    return _text(values[0]) if len(values) == 1 else f"{_text(values[0])}..{_text(values[-1])}"


def _text(value):
    if isinstance(value, bytes):
        return value.hex() or "(empty)"
    if isinstance(value, bool):
        return "yes" if value else "no"
    return str(value) if value != "" else "(empty)"


def _fit(text, width):
    """The text in that width; a longer one is cut in the middle."""
    if len(text) <= width:
        return text.ljust(width)
    head = (width - 1) // 2
    return f"{text[:head]}…{text[head + 1 - width:]}"


def _row(*cells):
    return " ".join(map(_fit, cells, WIDTHS)).rstrip()
