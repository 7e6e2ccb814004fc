#!/usr/bin/env python3
"""Generates files of both formats, well-formed and damaged, the same ones for the same seed and number.

   generate.py FOLDER [--seed S] [--first N] [--count N]

writes the files of these numbers into FOLDER and prints the questions about them, one a line, as compare.py
asks them.
"""

import argparse
import os
import pathlib
import random
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import logdb_formats as formats


class Case:
    """One file and the questions about it. `data` is None for no file, or formats.UNREADABLE for a directory."""

    def __init__(self, seed, number, suffix, data, shape, questions):
        self.seed = seed
        self.number = number
        self.suffix = suffix
        self.data = data
        self.shape = shape
        self.questions = questions

    def put(self, path):
        """Makes the file, or the folder, or nothing, at a path where nothing is yet or an earlier one was."""
        if self.data is formats.UNREADABLE:
            os.makedirs(path, exist_ok=True)
        elif self.data is not None:
            with open(path, "wb") as file:
                file.write(self.data)


# ------------------------------------------------------------------------------------------------------------
# Values
# ------------------------------------------------------------------------------------------------------------

ROOTS = [
    b"", b"t", b"top", b"top|", b"top|u1", b"top|u1|", b"|", b"||", b"TOP", b" ", b"a b", b"top,u",
    b"\xc3\xa9", b"\xff|\x01", b"%s%n", b"\\", b"\"", b"chip|core_3", b"x" * 300,
]

NODE_ENDS = [
    b"", b"|", b"||", b"|a", b"|u1", b"|u1|q", b"|u1|q|", b"x", b"x|n", b" ", b"|a b", b"|\xc3\xa9",
    b"|d~0", b"|v[3]",
]

KIND_NAMES = [name for _, debug_name, user_name, _ in formats.ENTRY_KINDS for name in (debug_name, user_name)]

HOSTILE_BYTES = [
    b"\0", b"\r", b"\n", b"\r\n", b" ", b"\t", b"\v", b"\f", b",", b",,", b"|", b"\x01", b"\x1a", b"\x1c",
    b"\x1f", b"\x7f", b"\x80", b"\x85", b"\xa0", b"\xc2\x85", b"\xe2\x80\xa8", b"\xff", b"\xff\xfe", b"%",
    b"\\", b"\"", b"'",
]

HOSTILE_NAMES = [
    b"a", b"top", b"top|u1|q", b"top|u1|d~0", b"v[3]", b"0", b"-1", b"Port", b"Output", b"LUTMASK",
    b"NORMAL", b"SUM", b"CARRY", b"UNCHANGED", b"unchanged", b"UNCHANGEDx", b"NO_ENABLE", b"no_enable",
    b"DUMMY_NAME", b"LOGDB_FSYN_EOF", b"LOGDB_FSYN_EOFx", b"END_OF_DELETE_ATOM",
    b"End_of_ADD_REMOVE_Connection", b"END_OF_ADD_REMOVE_CONNECTION", b"PHYSICAL_SYNTHESIS_END_OF_LOG",
    b"PHYSICAL_SYNTHESIS_SET_INVERT", b"PHYSICAL_SYNTHESIS_DELETE_ATOM", b"PHYSICAL_SYNTHESIS_",
    b"\\escaped~name", b"%s%d%n", b"\"q\"", b"'", b"\xc3\xa9\xe2\x82\xac", b"\x80\xff", b"\x01",
    b"\x1c\x1d", b"\x85", b"\xa0", b"a,b", b"a=b", b"//", b"#",
]

HOSTILE_FIELDS = [
    b"", b" ", b"  ", b"PACKED", b"only fan-out", b"a\rb", b"\t", b"\v\f", b"\"a,b\"", b"|", b"a;b", b"=",
    b"v1", b"0", b"\\n", b"18 x 18 signed",
]

SPECIAL_WORDS = [
    formats.END_OF_NAMES, formats.END_OF_CONNECTIONS, formats.END_WORD, formats.UNCHANGED,
    formats.NO_ENABLE, b"Port", b"Output", b"port", b"LUTMASK", b"NORMAL", b"SUM", b"CARRY", b"sum",
    b"DUMMY_NAME",
]

INT_LIMITS = [
    0, 1, -1, 2, 8, 255, 256, 32767, 65535, 65536, 2**31 - 1, -2**31, 2**31, -2**31 - 1, 2**32 - 1, 2**32,
    2**32 + 1, 2**32 + 3, -2**32, 2**63 - 1, 2**63, -2**63, -2**63 - 1, 2**64 - 1, 2**64, -2**64,
    3000000000, 70000, 10**20, -10**20,
]

ODD_NUMBERS = [b"%d" % number for number in INT_LIMITS] + [
    b"+5", b"-0", b"+0", b"00", b"007", b"-007", b"0x1f", b"0X1F", b"0x", b"0X", b"0xg", b"0x0x1", b"-0x1",
    b"+0x1f", b"0x-1", b"12abc", b"12,", b"1.9", b"1e3", b"1_000", b"_9", b"--5", b"+-5", b"-+5", b"-",
    b"+", b"0b1", b"0o7", b"abc", b"ABC", b"fF", b"inf", b"nan", b"TRUE", b"f", b"-f", b"ffffffff",
    b"1ffffffff", b"100000000", b"ffffffffffffffff", b"10000000000000000", b"0xffffffffffffffff",
    b"0x10000000000000000", b"fffffffffffffffff", b"-ffffffffffffffff", b"-fffffffffffffffff",
    b"-10000000000000000", b"8000000000000000", b"-8000000000000000", b"7fffffffffffffff", b"-1\xff",
    b"5\x80", b"\xd9\xa3", b"\xef\xbc\x95", b"1\x1c2", b"9" * 400, b"-" + b"9" * 400, b"0" * 400 + b"7",
    b"0" * 4095 + b"5", b"0" * 4096 + b"5", b"0" * 4094 + b"-5", b"f" * 4097, b"0x" + b"0" * 4093 + b"ab",
]

SEPARATORS = [b" ", b"\n", b"\t", b"\r\n", b"\v", b"\f", b"  ", b"\n\n", b" \n", b"\r"]


def hostile_case(rng, name):
    """The name with its letters in any case."""
    how = rng.randrange(5)
    if how == 0:
        return name
    if how == 1:
        return name.lower()
    if how == 2:
        return name.upper()
    return bytes(byte ^ 0x20 if chr(byte).isalpha() and rng.random() < 0.3 else byte for byte in name)


def random_bytes(rng, most=12):
    return rng.randbytes(rng.randrange(most + 1))


def almost(rng, name):
    """A name that is a keyword or a kind but for a small thing."""
    position = rng.randrange(len(name) + 1)
    how = rng.randrange(6)
    if how == 0:
        return name[:position]
    if how == 1:
        return name[:position] + rng.choice(HOSTILE_BYTES) + name[position:]
    if how == 2:
        return name.replace(b"_", b" ", 1)
    if how == 3:
        return name + rng.choice([b"S", b"_", b" ", b".", b"\x80"])
    if how == 4:
        return rng.choice([b" ", b"_", b"\xef\xbb\xbf"]) + name
    return name[:position] + bytes([rng.randrange(256)]) + name[position + 1:]


# ------------------------------------------------------------------------------------------------------------
# Log databases
# ------------------------------------------------------------------------------------------------------------

def database_field(rng, root):
    how = rng.random()
    if how < 0.55:
        return root + rng.choice(NODE_ENDS)
    if how < 0.75:
        return rng.choice(HOSTILE_FIELDS)
    if how < 0.9:
        return rng.choice(HOSTILE_NAMES)
    return random_bytes(rng)


def database_kind_name(rng):
    how = rng.random()
    if how < 0.6:
        return rng.choice(KIND_NAMES[0:6:2])
    if how < 0.8:
        return hostile_case(rng, rng.choice(KIND_NAMES))
    if how < 0.9:
        return almost(rng, rng.choice(KIND_NAMES))
    return rng.choice([b"", b"CLOCK_PACKING", b"NODE_NAME", b"GENERIC_STRING", b"v1", b"-1", b"0", b"\xff"])


def version_line(rng):
    if rng.random() < 0.8:
        return b"v1"
    return rng.choice([b"", b"v2", b"V1", b"v1\r", b" v1", b"v1,", b"v1\0x", b"\0", b"RAM_PACKING,a,", b"%s%n",
                       b"\xff", b"v" * 5000])


def database_lines(rng, root, most=8):
    lines = [version_line(rng)]
    for _ in range(rng.randrange(most + 1)):
        fields = [database_field(rng, root) for _ in range(rng.choice((0, 1, 2, 2, 3, 5, 5, 6, 9, 10, 12)))]
        line = b"".join(piece + b"," for piece in [database_kind_name(rng)] + fields)
        lines.append(line[:-1] if rng.random() < 0.1 else line)
    return lines


def lines_of_limit_length(rng, root):
    """A database with a line around the longest one that can be read."""
    lines = database_lines(rng, root, most=4)
    number = rng.randrange(len(lines) + 1)
    length = formats.LONGEST_LINE + rng.randrange(-2, 4)
    begin = lines[number] if number < len(lines) else b""
    filling = rng.choice([b"x", b"|", b" ", b"\r", b"\0", b"\xff", b"x" * 900 + b",", b"y" * 5000 + b",",
                          b"z" * 40 + b","])
    if rng.random() < 0.03:
        filling = b","
    line = begin + filling * ((length - len(begin)) // len(filling) + 1)
    lines[number:number + 1] = [line[:length]]
    return lines


def database_soup(rng, root):
    pieces = [b",", b",", b"\n", b"\n", b"\0", b"\r", b"|", b"a", b"top", b" ", b"v1\n", root,
              rng.choice(KIND_NAMES), b"\xff"]
    return b"".join(rng.choice(pieces) for _ in range(rng.randrange(60)))


TINY_DATABASES = [b"", b"\n", b"\0", b"v1", b"v1\n", b"v1\n\n", b"v1\n\0", b"v1\n,", b"\n\n\n",
                  b"\r\n", b"v1\0\n\0\n"]


def database_data(rng, root):
    """The bytes of a log database and what they are."""
    how = rng.random()
    if how < 0.03:
        lines = lines_of_limit_length(rng, root)
        return b"\n".join(lines) + (b"\n" if rng.random() < 0.8 else b""), "line around 32767 bytes"
    if how < 0.05:
        return rng.choice([b"x", b"\0", b",", b" "]) * (formats.LONGEST_LINE + rng.randrange(-2, 3)), "no line end"
    if how < 0.07:
        return rng.choice(TINY_DATABASES), "tiny"
    if how < 0.17:
        return database_soup(rng, root), "soup"
    lines = database_lines(rng, root)
    return b"".join(line + b"\n" for line in lines), "well-formed"


# ------------------------------------------------------------------------------------------------------------
# Physical-synthesis logs
# ------------------------------------------------------------------------------------------------------------

def log_name(rng):
    how = rng.random()
    if how < 0.45:
        return b"top|u%d|n%d" % (rng.randrange(9), rng.randrange(99))
    if how < 0.9:
        return rng.choice(HOSTILE_NAMES)
    if how < 0.97:
        return bytes(byte for byte in random_bytes(rng) if byte not in b"\0\t\n\v\f\r ") or b"x"
    return rng.choice([b"n", b"ab", b"\xff"]) * (2000 + rng.randrange(90))


def log_number(rng):
    return rng.choice(ODD_NUMBERS) if rng.random() < 0.5 else b"%d" % rng.randrange(20)


def slot_index(rng):
    return rng.choice(ODD_NUMBERS) if rng.random() < 0.25 else b"%d" % rng.randrange(-2, 19)


def words_of_record(rng, kind):
    """A record as words, its numbers spelled in any way."""
    words = [formats.KEYWORDS[kind]]
    if kind in formats.FIELDS:
        for field in formats.FIELDS[kind]:
            words.append(log_number(rng) if field in formats.NUMBER_FIELDS else log_name(rng))
        return words
    words.append(log_name(rng))
    if kind == "DELETE_ATOM":
        words += [log_name(rng) for _ in range(rng.randrange(5))] + [formats.END_OF_NAMES]
    elif kind == "SET_LUTMASK":
        words += [log_number(rng) for _ in range(3)]
        words.append(rng.choice([b"NORMAL", b"SUM", b"CARRY", b"sum", b"0", b"NORMALx", log_name(rng)]))
    elif kind in formats.SLOTS:
        for _ in range(rng.randrange(6)):
            words += [slot_index(rng), log_name(rng)]
        words.append(formats.END_OF_CONNECTIONS)
    elif kind == "ADD_REMOVE_CONNECTION_RAM":
        for _ in range(rng.randrange(5)):
            words += [log_number(rng), log_number(rng), log_name(rng)]
        words.append(formats.END_OF_CONNECTIONS)
    elif kind == "STORE_NODE_INFO":
        words.append(log_number(rng))
        for introduction in (b"Port", b"Output"):
            for _ in range(rng.randrange(4)):
                words += [introduction, log_number(rng), log_name(rng)]
        words += [rng.choice([b"LUTMASK", b"LUTMASK", log_name(rng)]), log_number(rng), log_number(rng)]
    else:
        enable = rng.choice([b"NO_ENABLE", b"no_enable", b"NO_ENABLEx", log_name(rng)])
        words += [log_number(rng), log_name(rng), log_name(rng), enable]
    return words


def written_name(rng):
    """A name as a program may have it in memory: also empty, with white space, and longer than a line."""
    how = rng.random()
    if how < 0.86:
        return log_name(rng)
    if how < 0.9:
        return b""
    if how < 0.96:
        return log_name(rng) + rng.choice(HOSTILE_BYTES) + log_name(rng)
    return b"y" * rng.choice([4080, 4090, 4092, 4094, 4095, 4096, 4097, 5000])


def written_number(rng, field):
    if field in formats.FLAG_FIELDS:
        return rng.choice((0, 0, 1, 1, 2, 128, 255))
    if field in formats.INDEX_FIELDS:
        return rng.choice((0, 1, 2, 10, 4464, 65535))
    return rng.choice((0, 1, 2, 8, 8, -1, 10, 77, 2**31 - 1, -2**31))


def written_record(rng, kind):
    """A record as a program may have it in memory; the writer puts it into the file."""
    fields = {field: written_number(rng, field) if field in formats.NUMBER_FIELDS else written_name(rng)
              for field in formats.FIELDS.get(kind, ["m_node_name"])}
    names = lambda most: [written_name(rng) for _ in range(rng.randrange(most))]
    ints = lambda most: [written_number(rng, "m_value") for _ in range(rng.randrange(most))]
    if kind == "DELETE_ATOM":
        fields["m_deleted_names"] = names(5)
    elif kind in formats.SLOTS:
        fields["m_port_sources"] = [written_name(rng) if rng.random() < 0.3 else formats.UNCHANGED
                                    for _ in range(rng.randrange(19))]
    elif kind == "ADD_REMOVE_CONNECTION_RAM":
        fields.update(m_ram_source_names=names(5), m_ram_port_types=ints(5),
                      m_ram_port_indices=[abs(number) % 2**16 for number in ints(5)])
    elif kind == "STORE_NODE_INFO":
        fields.update(m_node_type=written_number(rng, "m_node_type"), m_input_port_types=ints(4),
                      m_input_port_names=names(4), m_output_port_types=ints(4), m_output_port_names=names(4))
    elif kind == "CONFIRM_CLKBUF":
        fields.update(m_value=written_number(rng, "m_value"), m_clkbuf_first_name=written_name(rng),
                      m_clkbuf_second_name=written_name(rng), m_enable_name=written_name(rng))
    elif kind == "SET_LUTMASK":
        fields.update(m_mask_option=written_number(rng, "m_mask_option"),
                      m_lut_mode=written_number(rng, "m_lut_mode"))
    if kind in ("SET_LUTMASK", "STORE_NODE_INFO"):
        fields["m_lut_mask"] = rng.choice((0, 1, 2**32 - 1, 2**32, 2**63, 2**64 - 1, rng.getrandbits(64)))
    return kind, fields


ALL_KINDS = list(formats.LINES)
KINDS_WITH_LISTS = [kind for kind, lines in formats.LINES.items() if lines is None]


def log_kind(rng):
    return rng.choice(KINDS_WITH_LISTS if rng.random() < 0.4 else ALL_KINDS)


def log_soup(rng):
    words = []
    for _ in range(rng.randrange(40)):
        how = rng.random()
        if how < 0.3:
            words.append(formats.KEYWORDS[log_kind(rng)])
        elif how < 0.5:
            words.append(rng.choice(SPECIAL_WORDS))
        elif how < 0.7:
            words.append(log_number(rng))
        elif how < 0.75:
            words.append(almost(rng, formats.KEYWORDS[log_kind(rng)]))
        else:
            words.append(log_name(rng))
    return b"".join(word + rng.choice(SEPARATORS) for word in words)


TINY_LOGS = [b"", b"\n", b"\0", b" ", b"\xff", b"PHYSICAL_SYNTHESIS_END_OF_LOG", b"LOGDB_FSYN_EOF\n"]


def log_data(rng):
    """The bytes of a physical-synthesis log and what they are."""
    how = rng.random()
    if how < 0.02:
        return rng.choice(TINY_LOGS), "tiny"
    if how < 0.2:
        return log_soup(rng), "soup"
    number_of_records = rng.randrange(1, 8)
    if how < 0.6:
        records = [written_record(rng, log_kind(rng)) for _ in range(number_of_records)]
        return b"".join(formats.write_record(record) for record in records), "as written"
    separators = [b" ", b"\n"] if how < 0.8 else SEPARATORS
    words = [word for _ in range(number_of_records) for word in words_of_record(rng, log_kind(rng))]
    return b"".join(word + rng.choice(separators) for word in words), "as words"


# ------------------------------------------------------------------------------------------------------------
# Damage
# ------------------------------------------------------------------------------------------------------------

def flip_bytes(rng, data):
    damaged = bytearray(data)
    for _ in range(rng.randrange(1, 4)):
        if damaged:
            damaged[rng.randrange(len(damaged))] ^= 1 << rng.randrange(8)
    return bytes(damaged)


def insert_hostile_bytes(rng, data):
    for _ in range(rng.randrange(1, 4)):
        position = rng.randrange(len(data) + 1)
        data = data[:position] + rng.choice(HOSTILE_BYTES) + data[position:]
    return data


def insert_separators(rng, data):
    for _ in range(rng.randrange(1, 4)):
        position = rng.randrange(len(data) + 1)
        data = data[:position] + rng.choice([b" ", b"\n", b",", b"\t", b"\r", b"|"]) + data[position:]
    return data


def insert_zero_byte(rng, data):
    position = rng.randrange(len(data) + 1)
    return data[:position] + b"\0" + data[position:]


def delete_bytes(rng, data):
    position = rng.randrange(len(data) + 1)
    return data[:position] + data[position + rng.choice((1, 1, 2, 5, 20)):]


def truncate(rng, data):
    return data[:rng.randrange(len(data) + 1)]


def drop_last_line_end(_, data):
    return data[:-1]


def with_cr_lf(_, data):
    return data.replace(b"\n", b"\r\n")


def of_pieces(separator, change):
    """Damage done to a list of pieces, which are words or lines."""
    def damage(rng, data):
        pieces = re.split(separator, data)
        for _ in range(rng.randrange(1, 4)):
            if len(pieces) > 1:
                # Every other piece is what separates.
                change(rng, pieces, 2 * rng.randrange((len(pieces) + 1) // 2))
        return b"".join(pieces)
    return damage


def delete_piece(_, pieces, index):
    del pieces[index:index + 2]


def repeat_piece(_, pieces, index):
    pieces[index:index] = pieces[index:index + 2]


def swap_pieces(rng, pieces, index):
    other = 2 * rng.randrange((len(pieces) + 1) // 2)
    pieces[index], pieces[other] = pieces[other], pieces[index]


def cut_piece(rng, pieces, index):
    pieces[index] = pieces[index][:rng.randrange(len(pieces[index]) + 1)]


def join_pieces(_, pieces, index):
    if index + 1 < len(pieces):
        pieces[index + 1] = b""


def replace_by_number(rng, pieces, index):
    pieces[index] = log_number(rng)


def replace_by_special_word(rng, pieces, index):
    pieces[index] = rng.choice(SPECIAL_WORDS + [formats.KEYWORDS[log_kind(rng)], rng.choice(KIND_NAMES)])


def lengthen_to_word_limit(rng, pieces, index):
    length = formats.LONGEST_WORD + rng.randrange(-2, 4)
    pieces[index] = (pieces[index] + rng.choice([b"z", b"7", b"0"]) * length)[:length]


WORDS = rb"(\s+)"
FIELDS = rb"([,\n])"
LINES = rb"(\n)"

DAMAGE_TO_ALL = [
    flip_bytes, insert_hostile_bytes, insert_separators, insert_zero_byte, delete_bytes, truncate,
    drop_last_line_end, with_cr_lf, of_pieces(LINES, delete_piece), of_pieces(LINES, repeat_piece),
    of_pieces(LINES, swap_pieces), of_pieces(LINES, cut_piece), of_pieces(LINES, join_pieces),
]
DAMAGE_TO_DATABASES = DAMAGE_TO_ALL + [of_pieces(FIELDS, change) for change in (
    delete_piece, repeat_piece, swap_pieces, cut_piece, join_pieces, replace_by_special_word)]
DAMAGE_TO_LOGS = DAMAGE_TO_ALL + [of_pieces(WORDS, change) for change in (
    delete_piece, repeat_piece, swap_pieces, cut_piece, join_pieces, replace_by_number, replace_by_number,
    replace_by_special_word, lengthen_to_word_limit)]



def damaged(rng, data, shape, ways):
    for _ in range(rng.choice((0, 0, 0, 1, 1, 1, 2, 3))):
        data = rng.choice(ways)(rng, data)
        if not shape.endswith("damaged"):
            shape += ", damaged"
    return data, shape


# ------------------------------------------------------------------------------------------------------------
# Cases
# ------------------------------------------------------------------------------------------------------------

def askable(root):
    """A root without the bytes that cannot stand in a question."""
    return bytes(byte for byte in root if byte not in b"\0\t\n\r")


def root_for(rng, data, root):
    """Often the root that the names of the file hang under, sometimes the beginning of one of its fields."""
    how = rng.random()
    if how < 0.5:
        return root
    if how < 0.8 or not data:
        return rng.choice(ROOTS)
    field = rng.choice(re.split(FIELDS, data[:2000]))
    return askable(field[:rng.randrange(len(field) + 1)])


def database_questions(rng, data, root):
    questions = [("database", None), ("partition", root_for(rng, data, root)),
                 ("write", root_for(rng, data, root))]
    if rng.random() < 0.5:
        questions.append(("write", None))
    return questions


def has_instance_name(data):
    """Whether any step of reading gives an instance-name record, also behind steps that give nothing."""
    reader = formats.LogReader(data)
    # A step that gives nothing has used up a word, unless the file has ended.
    for _ in range(data.count(formats.END_WORD) + 1):
        record = reader.step()
        while record is not None:
            if formats.writing_stops_the_process(record):
                return True
            record = reader.step()
    return False


def log_questions(data):
    return [("log", None)] if has_instance_name(data) else [("log", None), ("copy", None)]


def case(seed, number):
    """The case of this seed and number; no other case need be made for it."""
    rng = random.Random("%s/%s" % (seed, number))
    root = rng.choice(ROOTS)
    how = rng.random()
    if how < 0.004:
        return Case(seed, number, ".logdb", None, "no file", database_questions(rng, b"", root))
    if how < 0.008:
        questions = [("database", None), ("partition", root)]
        return Case(seed, number, ".logdb", formats.UNREADABLE, "a directory", questions)
    if how < 0.012:
        return Case(seed, number, ".fsyn", None, "no file", [("log", None)])
    if how < 0.016:
        return Case(seed, number, ".fsyn", formats.UNREADABLE, "a directory", [("log", None)])
    if how < 0.03:
        data, shape = damaged(rng, *log_data(rng), DAMAGE_TO_LOGS)
        questions = database_questions(rng, data, root)
        return Case(seed, number, ".logdb", data, "a log for a database, " + shape, questions)
    if how < 0.04:
        data, shape = damaged(rng, *database_data(rng, root), DAMAGE_TO_DATABASES)
        return Case(seed, number, ".fsyn", data, "a database for a log, " + shape, log_questions(data))
    if how < 0.5:
        data, shape = damaged(rng, *database_data(rng, root), DAMAGE_TO_DATABASES)
        return Case(seed, number, ".logdb", data, shape, database_questions(rng, data, root))
    data, shape = damaged(rng, *log_data(rng), DAMAGE_TO_LOGS)
    return Case(seed, number, ".fsyn", data, shape, log_questions(data))


def question_line(kind, path, root):
    """One question, as the program reads it."""
    line = kind.encode() + b"\t" + os.fsencode(path)
    return line + b"\n" if root is None else line + b"\t" + root + b"\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--first", type=int, default=0)
    parser.add_argument("--count", type=int, default=1)
    arguments = parser.parse_args()
    arguments.folder.mkdir(parents=True, exist_ok=True)
    for number in range(arguments.first, arguments.first + arguments.count):
        made = case(arguments.seed, number)
        for index, (kind, root) in enumerate(made.questions):
            # A program may write to a file that it is asked about, so every question has its own.
            path = arguments.folder.resolve() / ("%s-%d-%d%s" % (made.seed, number, index, made.suffix))
            made.put(path)
            sys.stdout.buffer.write(question_line(kind, path, root))


if __name__ == "__main__":
    main()
