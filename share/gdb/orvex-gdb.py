"""Pretty-printers for ORVEX::Number and fxpDataTypeProp.

gdb loads this by itself where it stands beside the library or in gdb's auto-load directory; otherwise
    (gdb) source orvex-gdb.py
Values are exact.
"""

import math
import struct
from fractions import Fraction

import gdb
import gdb.printing

FIXED, SCALED_DOUBLE, DOUBLE, SINGLE = range(4)


class Body:
    """What is shown of a number. Its private members are known here and nowhere else.

    Debug information has them where the library was built with it. Elsewhere the number's own functions are called,
    which takes a running program.
    """

    def __init__(self, number):
        self.number = number
        try:
            self.read(gdb.lookup_type("NumberBody"))
        except (gdb.error, StopIteration):  # unknown, or declared alone
            self.ask()

    def read(self, body_type):
        word = gdb.lookup_type("unsigned long long")

        def member(name):
            # By its place: taken from the object, gdb would look for the class that the object really has.
            field = next(field for field in body_type.fields() if field.name == name)
            return gdb.Value(body + field.bitpos // 8).cast(field.type.pointer()).dereference()

        def pointer(value):  # an owning one is laid out as a plain one
            return int(value.address.cast(word.pointer()).dereference())

        body = pointer(self.number["body_"])
        self.type = TypeView(member("dataType_"))
        self.count = int(member("numberOfElements_"))
        self.cursor = int(member("index_"))
        self.address = pointer(member("data_"))
        self.is_complex = int(member("bytesPerElement_")) == 2 * self.type.bytes_per_part()
        rank = int(member("nDims_"))
        sizes = pointer(member("largeDims_")) if rank > 2 else int(member("smallDims_").address)
        sizes = gdb.Value(sizes).cast(word.pointer())
        self.sizes = [int(sizes[i]) for i in range(rank)]

    def ask(self):
        self.type = TypeView(self.call("getDataType"))
        self.count = int(self.call("getNumberOfElements"))
        self.cursor = int(self.call("getIndex"))
        self.address = int(self.call("getSIArray"))
        self.is_complex = bool(self.call("isComplex"))
        sizes = self.call("getDims")
        self.sizes = [int(sizes[i]) for i in range(int(self.call("getNDims")))]

    def call(self, function):
        return gdb.parse_and_eval("((ORVEX::Number*)%d)->%s()" % (int(self.number.address), function))


def text_of_double(value):
    """As the shortest text that reads back."""
    return str(int(value)) if value == int(value) and abs(value) < 1e15 else repr(value)


class TypeView:
    """The fields of a data type record."""

    def __init__(self, record):
        self.mode = int(record["mode"])
        self.signed = int(record["signedness"]) != 0
        self.bits = int(record["wordLength"])
        self.exponent = int(record["fixedExponent"])
        self.factor = float(record["slopeAdjustmentFactor"])
        self.bias = float(record["bias"])

    def bytes_per_part(self):
        if self.mode == SINGLE:
            return 4
        if self.mode != FIXED:
            return 8
        return next((n for n in (1, 2, 4, 8) if self.bits <= 8 * n), (self.bits + 63) // 64 * 8)

    def text(self):
        if self.mode not in (FIXED, SCALED_DOUBLE):
            return {DOUBLE: "double", SINGLE: "single"}.get(self.mode, "boolean")
        text = "" if self.mode == FIXED else "scaled:"
        text += ("s" if self.signed else "u") + str(self.bits)
        if self.factor == 1 and self.bias == 0:
            return text + "," + str(-self.exponent)
        plain = 1 <= self.factor < 2 and abs(self.exponent) < 1000
        text += " slope " + (text_of_double(math.ldexp(self.factor, self.exponent)) if plain else
                             "%s*2^%d" % (text_of_double(self.factor), self.exponent))
        return text if self.bias == 0 else text + " bias " + text_of_double(self.bias)

    def value(self, memory):
        """The text of one part."""
        if self.mode == FIXED:
            held = int.from_bytes(memory, "little", signed=self.signed)
        else:
            held = struct.unpack("<f" if self.mode == SINGLE else "<d", memory)[0]
            if not math.isfinite(held):
                return str(held)
        if self.mode in (FIXED, SCALED_DOUBLE):
            if abs(self.exponent) > 4096:  # more digits than anyone reads
                return "%s*2^%d" % (held, self.exponent)
            held = Fraction(held) * Fraction(self.factor) * Fraction(2) ** self.exponent + Fraction(self.bias)
        return decimal(Fraction(held))


def decimal(value):
    """All digits of a fraction over a power of two."""
    places = value.denominator.bit_length() - 1
    digits = str(abs(value.numerator) * 5 ** places).rjust(places + 1, "0")
    if places:
        digits = digits[:-places] + "." + digits[-places:]
    return ("-" if value < 0 else "") + digits


class TypePrinter:
    def __init__(self, record):
        self.view = TypeView(record)

    def to_string(self):
        return self.view.text()


class NumberPrinter:
    """Shape and type, and the elements as children, which gdb limits by `set print elements`."""

    def __init__(self, number):
        is_made = any(self.memory(int(number.address), number.type.fields()[0].type.sizeof))
        self.body = Body(number) if is_made else None

    @staticmethod
    def memory(address, size):
        return bytes(gdb.selected_inferior().read_memory(address, size))

    def element(self, index):
        view = self.body.type
        part = view.bytes_per_part()
        size = 2 * part if self.body.is_complex else part
        memory = self.memory(self.body.address + index * size, size)
        real = view.value(memory[:part])
        if not self.body.is_complex:
            return real
        imaginary = view.value(memory[part:])
        return "%s %s %si" % (real, "-" if imaginary[0] == "-" else "+", imaginary.lstrip("-"))

    def to_string(self):
        if self.body is None:
            return "no body"
        if self.body.count == 1:
            return "%s (%s)" % (self.element(0), self.body.type.text())
        shape = "x".join(str(size) for size in self.body.sizes)
        cursor = " at %d" % self.body.cursor if self.body.cursor else ""
        return "%s %s%s" % (shape, self.body.type.text(), cursor)

    def children(self):
        if self.body is not None and self.body.count != 1:
            for index in range(self.body.count):
                yield "[%d]" % index, self.element(index)


def register(objfile):
    printers = gdb.printing.RegexpCollectionPrettyPrinter("orvex")
    printers.add_printer("Number", "^ORVEX::Number$", NumberPrinter)
    printers.add_printer("fxpDataTypeProp", "^fxpDataTypeProp$", TypePrinter)
    gdb.printing.register_pretty_printer(objfile, printers, replace=True)


register(gdb.current_objfile())
