"""Pretty-printers for ORVEX::Number and fxpDataTypeProp.

gdb loads this by itself where it stands beside the library or in gdb's auto-load directory; otherwise
    (gdb) source orvex-gdb.py
Nothing is called in the program, so that core files show as well. Values are exact.
"""

import math
from fractions import Fraction

import gdb
import gdb.printing

FIXED, SCALED_DOUBLE, DOUBLE, SINGLE = range(4)


# What the printers know of the private members stands in these two functions and nowhere else.

def body_of(number):
    """The NumberBody of a Number, or None."""
    pointer = number["body_"]
    for field in pointer.type.strip_typedefs().fields():
        if field.name == "_M_t":  # a std::unique_ptr: down to the tuple's head, a plain pointer
            pointer = pointer["_M_t"]
            while pointer.type.strip_typedefs().code != gdb.TYPE_CODE_PTR:
                pointer = pointer[base_or_member(pointer.type.strip_typedefs())]
            break
    return pointer.dereference() if int(pointer) != 0 else None


class Body:
    """The members of a NumberBody that are shown."""

    def __init__(self, body):
        self.type = body["dataType_"]
        self.count = int(body["numberOfElements_"])
        self.cursor = int(body["index_"])
        self.bytes_per_element = int(body["bytesPerElement_"])
        self.address = int(body["data_"])
        rank = int(body["nDims_"])
        sizes = body["smallDims_"]
        self.sizes = [int(sizes[i]) for i in range(2)] if rank == 2 else [self.count]


def base_or_member(type_):
    """The field of a standard library class that leads on to the pointer it holds."""
    fields = type_.fields()
    for name in ("_M_t", "_M_head_impl"):
        for field in fields:
            if field.name == name:
                return field
    return next(field for field in fields if field.is_base_class)


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
        try:
            slope = math.ldexp(self.factor, self.exponent)
        except OverflowError:
            slope = 0
        text += " slope " + (text_of_double(slope) if slope != 0 and math.isfinite(slope) else
                             "%s*2^%d" % (text_of_double(self.factor), self.exponent))
        return text if self.bias == 0 else text + " bias " + text_of_double(self.bias)

    def value(self, memory):
        """The text of one part."""
        if self.mode == FIXED:
            held = int.from_bytes(memory, "little", signed=self.signed)
        else:
            import struct
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
        body = body_of(number)
        self.body = Body(body) if body is not None else None
        self.view = TypeView(self.body.type) if self.body else None

    def element(self, index):
        size = self.body.bytes_per_element
        part = self.view.bytes_per_part()
        memory = bytes(gdb.selected_inferior().read_memory(self.body.address + index * size, size))
        real = self.view.value(memory[:part])
        if size == part:
            return real
        imaginary = self.view.value(memory[part:2 * part])
        return "%s %s %si" % (real, "-" if imaginary[0] == "-" else "+", imaginary.lstrip("-"))

    def to_string(self):
        if self.body is None:
            return "no body"
        shape = "x".join(str(size) for size in self.body.sizes)
        if self.body.count == 1:
            return "%s (%s)" % (self.element(0), self.view.text())
        cursor = " at %d" % self.body.cursor if self.body.cursor else ""
        return "%s %s%s" % (shape, self.view.text(), cursor)

    def children(self):
        if self.body is not None and self.body.count != 1:
            for index in range(self.body.count):
                yield "[%d]" % index, self.element(index)


class TextValue:
    pass


def register(objfile):
    printers = gdb.printing.RegexpCollectionPrettyPrinter("orvex")
    printers.add_printer("Number", "^ORVEX::Number$", NumberPrinter)
    printers.add_printer("fxpDataTypeProp", "^fxpDataTypeProp$", TypePrinter)
    gdb.printing.register_pretty_printer(objfile, printers, replace=True)


register(gdb.current_objfile())
