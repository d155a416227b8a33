"""The table of what was compared: aligned and within 80 columns; what differs is repeated whole."""

WIDTHS = (32, 12, 12, 15)


class Table:
    def __init__(self):
        self.passed = self.failed = self.not_zero = 0
        self._message = ""

    def title(self, text):
        print(f"\n{text}")
        self._message = ""

    def header(self):
        print(_row("field", "orbis-host", "the other", "which", ""))
        print("-" * 79)

    def check(self, path, ours, acceptable, source, show=True):
        """Counts one comparison, and prints it when it is to be shown or failed."""
        passed = any(type(ours) is type(value) and ours == value for value in acceptable)
        self.passed += passed
        self.failed += not passed
        self.not_zero += bool(passed and ours)
        theirs = " or ".join(_text(value) for value in acceptable)
        if show or not passed:
            message, _, name = path.rpartition(".")
            if message != self._message:
                print(message or "(top level)")
                self._message = message
            print(_row(f"  {name}", _text(ours), theirs, source, "ok" if passed else "FAILED"))
        if not passed:
            print(f"  ^ {path}: orbis-host has {ours!r}, {source} has {theirs}")

    def require(self, statement, holds, explanation=""):
        """Counts a statement about the whole."""
        self.passed += bool(holds)
        self.failed += not holds
        print(f"{'ok     ' if holds else 'FAILED '} {statement}" + (f": {explanation}" if explanation and not holds else ""))

    def note(self, text):
        print(text)

    def summary(self):
        print(f"\nOf the values that are equal, {self.not_zero} are neither zero, false nor empty.")
        print(f"{self.passed} passed, {self.failed} failed")


def _text(value):
    if isinstance(value, bytes):
        return value.hex() or "(empty)"
    if isinstance(value, bool):
        return "yes" if value else "no"
    return str(value) if value != "" else '""'


def _fit(text, width):
    """The text in that width, its middle left out where it is longer."""
    if len(text) <= width:
        return text.ljust(width)
    head = (width - 1) // 2
    return f"{text[:head]}…{text[head + 1 - width:]}"


def _row(*cells):
    return " ".join([*map(_fit, cells, WIDTHS), cells[-1]]).rstrip()
