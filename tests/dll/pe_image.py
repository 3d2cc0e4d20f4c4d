"""Reads what the static checks need from a PE32+ file: headers, sections, imports, exports, version."""
import struct

MACHINE_AMD64 = 0x8664
PE32_PLUS = 0x20B
FILE_IS_DLL = 0x2000
FILE_RELOCS_STRIPPED = 0x0001
HIGH_ENTROPY_VA = 0x0020
DYNAMIC_BASE = 0x0040
NX_COMPAT = 0x0100
SECTION_EXECUTE = 0x20000000
SECTION_WRITE = 0x80000000
EXPORTS, IMPORTS, RESOURCES, RELOCATIONS, DEBUG, DELAYED_IMPORTS = 0, 1, 2, 5, 6, 13
RT_VERSION = 16


class Section:
    def __init__(self, data, offset):
        self.name = data[offset:offset + 8].rstrip(b"\0").decode("ascii")
        self.size, self.address, self.raw_size, self.raw = struct.unpack_from("<4I", data, offset + 8)
        (self.flags,) = struct.unpack_from("<I", data, offset + 36)


class Image:
    def __init__(self, path):
        self.data = path.read_bytes()
        (header,) = struct.unpack_from("<I", self.data, 0x3C)
        if self.data[:2] != b"MZ" or self.data[header:header + 4] != b"PE\0\0":
            raise ValueError(f"{path} is no PE file")
        (self.machine, section_count, self.timestamp, _, _, optional_size,
         self.file_flags) = struct.unpack_from("<HHIIIHH", self.data, header + 4)
        optional = header + 24
        (self.magic,) = struct.unpack_from("<H", self.data, optional)
        (self.image_base,) = struct.unpack_from("<Q", self.data, optional + 24)
        (self.dll_flags,) = struct.unpack_from("<H", self.data, optional + 70)
        self.directories = [struct.unpack_from("<II", self.data, optional + 112 + 8 * i) for i in range(16)]
        table = optional + optional_size
        self.sections = [Section(self.data, table + 40 * i) for i in range(section_count)]

    def offset(self, address):
        for section in self.sections:
            if section.address <= address < section.address + section.raw_size:
                return section.raw + address - section.address
        raise ValueError(f"address 0x{address:x} is in no section")

    def text(self, address):
        start = self.offset(address)
        return self.data[start:self.data.index(b"\0", start)].decode("ascii")

    def exports(self):
        """Names of the exports; an export by number alone shows as its number."""
        (address, _) = self.directories[EXPORTS]
        base = self.offset(address)
        first, functions, names, _, name_table, ordinals = struct.unpack_from("<6I", self.data, base + 16)
        named = {}
        for i in range(names):
            (name,) = struct.unpack_from("<I", self.data, self.offset(name_table) + 4 * i)
            (index,) = struct.unpack_from("<H", self.data, self.offset(ordinals) + 2 * i)
            named.setdefault(index, []).append(self.text(name))
        return [name for i in range(functions) for name in named.get(i, [f"#{first + i}"])]

    def imports(self):
        """Lists of function names by lower-case DLL name; an import by number shows as "#number"."""
        (address, size) = self.directories[IMPORTS]
        found = {}
        at = self.offset(address) if size else None
        while at is not None:
            lookup, _, _, name, slots = struct.unpack_from("<5I", self.data, at)
            if name == 0:
                break
            functions = found.setdefault(self.text(name).lower(), [])
            entry = self.offset(lookup or slots)
            while (value := struct.unpack_from("<Q", self.data, entry)[0]) != 0:
                functions.append(f"#{value & 0xFFFF}" if value >> 63 else self.text((value & 0x7FFFFFFF) + 2))
                entry += 8
            at += 20
        return found

    def timestamps_of_tables(self):
        """The times in the headers of the exports, of each import and of the resources, where there are such."""
        for table, step in ((EXPORTS, 0), (IMPORTS, 20), (RESOURCES, 0)):
            (address, size) = self.directories[table]
            at = self.offset(address) if size else None
            while at is not None:
                yield struct.unpack_from("<I", self.data, at + 4)[0]
                at += step
                if not step or not any(self.data[at:at + step]):
                    at = None

    def version_resource(self):
        """The bytes of the first version resource, or None."""
        (address, size) = self.directories[RESOURCES]
        if not size:
            return None
        root = self.offset(address)

        def entries(directory):
            named, numbered = struct.unpack_from("<HH", self.data, directory + 12)
            for i in range(named + numbered):
                yield struct.unpack_from("<II", self.data, directory + 16 + 8 * i)

        for kind, below in entries(root):
            if kind != RT_VERSION:
                continue
            while below & 0x80000000:
                _, below = next(entries(root + (below & 0x7FFFFFFF)))
            data, length = struct.unpack_from("<II", self.data, root + below)
            return self.data[self.offset(data):self.offset(data) + length]
        return None


def fixed_version(resource):
    """File and product version of a version resource, each as four numbers."""
    at = resource.index(struct.pack("<I", 0xFEEF04BD))
    file_high, file_low, product_high, product_low = struct.unpack_from("<4I", resource, at + 8)

    def numbers(high, low):
        return (high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF)

    return numbers(file_high, file_low), numbers(product_high, product_low)


def version_text(resource, name):
    """A text of the version resource's string table."""
    at = resource.index((name + "\0").encode("utf-16-le")) + 2 * (len(name) + 1)
    at += -at % 4
    units = resource[at:].decode("utf-16-le", "replace")
    return units[:units.index("\0")]
