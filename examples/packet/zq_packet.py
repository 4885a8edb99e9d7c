"""Reads variable packets of the settings module (docs/variable-packet.md), as the module itself reads them.

    variables, offset = read_packet(packet)
    bitrate = {(v.name, v.type): v.value for v in variables}["Settings.CurrentBitrate", Type.INTEGER]

Python 3.8 or later, nothing else.
"""
import enum
import struct
from typing import List, NamedTuple, Optional, Tuple, Union


class Type(enum.IntEnum):
    BOOL = 1
    INTEGER = 2
    DOUBLE = 3
    STRING = 4
    BINARY = 5


class Variable(NamedTuple):
    """One variable. Names are unique within a type only: "A" may be a bool and an integer."""

    name: str
    type: Type
    value: Union[bool, int, float, str, bytes]


class NotAPacket(ValueError):
    """The bytes do not begin with a packet's header."""


_HEADER = struct.Struct("<3sBI")  # magic, version, encoding of names and texts
_RECORD = struct.Struct("<Iii")  # type, length of the name, length of the value
_UTF16, _UTF8 = 0, 65001
_NUMBERS = {Type.BOOL: struct.Struct("<B"), Type.INTEGER: struct.Struct("<q"), Type.DOUBLE: struct.Struct("<d")}


def read_packet(packet: bytes) -> Tuple[List[Variable], int]:
    """Returns the variables of a packet, and the offset at which reading stopped.

    An offset before the end means damage there: what follows is lost. A record of an unknown type, or with too few bytes
    for its type, is skipped. Raises NotAPacket for bytes without a packet's header.
    """
    if len(packet) < _HEADER.size or packet[:3] != b"\xbf\xfe\xeb":
        raise NotAPacket("the bytes do not begin with BF FE EB and 5 more bytes of header")
    _, _, encoding = _HEADER.unpack_from(packet)
    variables: List[Variable] = []
    offset = _HEADER.size
    while offset + _RECORD.size <= len(packet):
        kind, name_length, value_length = _RECORD.unpack_from(packet, offset)
        start = offset + _RECORD.size
        end = start + name_length + value_length
        if name_length <= 0 or value_length < 0 or end > len(packet):
            break
        name = _text(packet[start : start + name_length], encoding)
        if not name:
            break
        value = _value(kind, packet[start + name_length : end], encoding)
        if value is not None:
            variables.append(Variable(name, Type(kind), value))
        offset = end
    return variables, offset


def _value(kind: int, data: bytes, encoding: int) -> Optional[Union[bool, int, float, str, bytes]]:
    if kind in _NUMBERS:
        number = _NUMBERS[Type(kind)]
        if len(data) < number.size:
            return None
        (value,) = number.unpack_from(data)  # of a longer value the first bytes count
        return value != 0 if kind == Type.BOOL else value
    if kind == Type.STRING:
        return _text(data, encoding)
    return bytes(data) if kind == Type.BINARY else None


def _text(data: bytes, encoding: int) -> str:
    """A name or a text: without an odd last byte, and up to its first zero character."""
    if encoding == _UTF16:
        text = data[: len(data) // 2 * 2].decode("utf-16-le", "surrogatepass")
    elif encoding == _UTF8:
        text = data.decode("utf-8", "replace")
    else:
        text = ""
    return text.partition("\0")[0]
