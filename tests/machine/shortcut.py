"""The bytes of a shortcut, so that none of Windows is needed to make one."""
import struct

_LINK_CLASS = bytes.fromhex("0114020000000000c000000000000046")
_HAS_LINK_INFO = 0x2


def shortcut(target):
    path = target.encode("ascii") + b"\0"
    # A fixed drive without a label: size, type, serial number, offset of the label, the label.
    volume = struct.pack("<IIII", 17, 3, 0, 16) + b"\0"
    header_size = 28
    path_at = header_size + len(volume)
    suffix_at = path_at + len(path)
    info = struct.pack("<IIIIIII", suffix_at + 1, header_size, 1, header_size, path_at, 0, suffix_at)
    header = struct.pack("<I16sII24xIIIH10x", 76, _LINK_CLASS, _HAS_LINK_INFO, 0, 0, 0, 1, 0)
    return header + info + volume + path + b"\0"
