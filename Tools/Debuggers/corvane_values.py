"""Shows values of Corvane in GDB and LLDB: Data, URL, Error, JSONValue and JSONObject.

    (gdb)  source  …/corvane_values.py
    (lldb) command script import …/corvane_values.py

The values are read from memory by the layout of their members, so that the library itself needs no debug information.
The layout is that of GCC's standard library on 64-bit machines.
"""

import json
import struct

LONGEST_TEXT = 200
MOST_ELEMENTS = 50
DEEPEST = 8


class Memory:
    """Reads numbers and texts; a debugger supplies `bytes`, `symbol` and `little`, the byte order."""

    little = True

    def bytes(self, address, count):
        raise NotImplementedError

    def symbol(self, address):
        """The name of the symbol that begins at, or reaches over, an address."""
        raise NotImplementedError

    def number(self, address, form="Q"):
        form = ("<" if self.little else ">") + form
        return struct.unpack(form, self.bytes(address, struct.calcsize(form)))[0]

    def string(self, address):
        """A std::string."""
        count = self.number(address + 8)
        text = self.bytes(self.number(address), min(count, LONGEST_TEXT)) if count else b""
        return text.decode("utf-8", "replace") + ("…" if count > LONGEST_TEXT else "")


def quoted(text):
    return json.dumps(text, ensure_ascii=False)


def data(memory, address):
    bytes_, count = memory.number(address), memory.number(address + 8)
    if not bytes_ or not count:
        return "0 bytes"
    head = memory.bytes(bytes_, min(count, LONGEST_TEXT))
    more = "…" if count > LONGEST_TEXT else ""
    try:
        text = head.decode("utf-8")
    except UnicodeDecodeError as problem:
        # Cut within a character.
        text = head[: problem.start].decode("utf-8") if more and problem.start > len(head) - 4 else None
    unit = "byte" if count == 1 else "bytes"
    if text is not None and all(letter.isprintable() or letter in "\t\r\n" for letter in text):
        return f"{count} {unit} {quoted(text)}{more}"
    return f"{count} {unit} {head[:32].hex(' ')}{'…' if count > 32 else ''}"


def url(memory, address):
    parts = memory.number(address)
    if not parts:
        return "moved from"
    text, base, resolved = parts, parts + 32, parts + 48
    return quoted(memory.string(resolved if memory.number(base) else text))


def error(memory, address):
    held = memory.number(address + 8)
    if not held:
        return "moved from"
    kind = memory.symbol(memory.number(held)).removeprefix("vtable for ").split(" + ")[0]
    if kind == "platform::NSError":
        domain, code, message = memory.string(held + 16), memory.number(held + 48, "q"), memory.string(held + 56)
        return f"{domain} {code} {quoted(message)}"
    # The message of another type is known once somebody asked for it.
    what = memory.number(held + 8)
    return f"{kind} {quoted(memory.string(what))}" if what else kind


def json_object(memory, address, depth=0):
    first, members = memory.number(address), []
    node = first
    while node != address:
        if len(members) == MOST_ELEMENTS or depth == DEEPEST:
            members.append("…")
            break
        value = json_value(memory, node + 16 + 32, depth + 1)
        members.append(f"{quoted(memory.string(node + 16))}: {value}")
        node = memory.number(node)
    return "{" + ", ".join(members) + "}"


JSON_VALUE_BYTES = 40


def json_array(memory, address, depth):
    start, finish = memory.number(address), memory.number(address + 8)
    elements = []
    for place in range(start, finish, JSON_VALUE_BYTES):
        if len(elements) == MOST_ELEMENTS or depth == DEEPEST:
            elements.append("…")
            break
        elements.append(json_value(memory, place, depth + 1))
    return "[" + ", ".join(elements) + "]"


def json_value(memory, address, depth=0):
    kinds = [
        lambda: "null",
        lambda: "true" if memory.number(address, "B") else "false",
        lambda: str(memory.number(address, "q")),
        lambda: str(memory.number(address, "Q")),
        lambda: repr(memory.number(address, "d")),
        lambda: quoted(memory.string(address)),
        lambda: json_array(memory, address, depth),
        lambda: json_object(memory, address, depth),
    ]
    kind = memory.number(address + 32, "B")
    return kinds[kind]() if kind < len(kinds) else "valueless"


SHOWN = {
    "platform::Data": data,
    "platform::URL": url,
    "platform::Error": error,
    "platform::JSONValue": json_value,
    "platform::JSONObject": json_object,
}


def add_to_gdb():
    import gdb
    import gdb.printing

    class GDBMemory(Memory):
        little = "big" not in gdb.execute("show endian", to_string=True)

        def bytes(self, address, count):
            return gdb.selected_inferior().read_memory(address, count).tobytes()

        def symbol(self, address):
            return gdb.execute(f"info symbol {address:#x}", to_string=True).strip()

    def printer(show):
        class Printer:
            def __init__(self, value):
                self.value = value

            def to_string(self):
                try:
                    return show(GDBMemory(), int(self.value.address))
                except (gdb.MemoryError, struct.error):
                    return "not initialised"

        return Printer

    printers = gdb.printing.RegexpCollectionPrettyPrinter("corvane")
    for name, show in SHOWN.items():
        printers.add_printer(name, f"^{name}$", printer(show))
    gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)


def lldb_summary(value, _):
    """Called by LLDB with each value."""
    import lldb

    class LLDBMemory(Memory):
        little = value.GetTarget().GetByteOrder() == lldb.eByteOrderLittle

        def bytes(self, address, count):
            problem = lldb.SBError()
            read = value.GetProcess().ReadMemory(address, count, problem)
            if not problem.Success():
                raise ValueError(problem.GetCString())
            return read

        def symbol(self, address):
            return value.GetTarget().ResolveLoadAddress(address).GetSymbol().GetName() or ""

    held = value.GetNonSyntheticValue()
    show = SHOWN[held.GetType().GetUnqualifiedType().GetCanonicalType().GetName()]
    try:
        return show(LLDBMemory(), held.GetLoadAddress())
    except (ValueError, struct.error):
        return "not initialised"


def __lldb_init_module(debugger, _):
    for name in SHOWN:
        debugger.HandleCommand(f"type summary add --python-function {__name__}.lldb_summary {name}")


try:
    add_to_gdb()
except ImportError:
    pass  # loaded by LLDB, which calls __lldb_init_module
