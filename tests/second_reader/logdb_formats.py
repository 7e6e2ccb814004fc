"""A second reader and writer of the log database and of the physical-synthesis log.

It is made from docs/database-format.md and docs/physical-synthesis-format.md alone and shares nothing with the
library, so that a difference between the two is a fault of one of them or of the documents. Bytes go in and
bytes come out; no file is opened here. Section numbers in comments are those of the documents.
"""

import re

# ------------------------------------------------------------------------------------------------------------
# The log database
# ------------------------------------------------------------------------------------------------------------

# Section 4: value, debug name, user name, positions with node names.
ENTRY_KINDS = [
    (0, b"DSP_BALANCING_IMPLEMENTATION", b"DSP Block Balancing Implementation", (1,)),
    (1, b"REGISTER_PACKING", b"Register Packing log", (3, 4)),
    (2, b"RAM_PACKING", b"RAM Packing log", (8,)),
    (3, b"FIT_COMPUTED_DQSBUSMUX_COUNTS", b"DQS bux muxes count log.", ()),
    (4, b"FSYN_LOG_FILE", b"Physical Synthesis Log", ()),
    (5, b"IO_RULES_SUMMARY", b"I/O Rules Summary", ()),
    (6, b"IO_RULES", b"I/O Rules Log", ()),
    (7, b"IO_RULES_MATRIX", b"I/O Rules Matrix", ()),
]

DEBUG_NAMES = {value: debug_name for value, debug_name, _, _ in ENTRY_KINDS}
NODE_POSITIONS = {value: positions for value, _, _, positions in ENTRY_KINDS}

# bytes.lower() folds A to Z and no other byte, which is what section 4 asks for.
KINDS_BY_NAME = {name.lower(): value
                 for value, debug_name, user_name, _ in ENTRY_KINDS for name in (debug_name, user_name)}

LONGEST_LINE = 32767

SEPARATOR_REPORT = b"log database write failed: string has field separator character"
ILLEGAL_KIND_REPORT = b"The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM."
FAILED_LOAD_REPORT = b"Failed reading log-db file"

# Stands for the bytes of a file that exists and cannot be read, a directory for example.
UNREADABLE = object()


def kind_by_name(name):
    return KINDS_BY_NAME.get(name.lower(), -1)


def up_to_nul(text):
    return text.split(b"\0", 1)[0]


def entry_of_text(text):
    """Section 6.3."""
    pieces = text.split(b",")
    if pieces[-1] == b"":
        pieces.pop()
    kind = kind_by_name(pieces[0]) if pieces else 0
    return kind, pieces[1:]


def read_database_with_messages(data):
    """Section 6.2: success, the entries, and the messages in order."""
    if data is UNREADABLE:
        return False, [], [b"Failed reading log db version info", b"Read 0 entries from log db"]
    entries = []
    messages = []

    def answer(ok):
        messages.append(b"Read %d entries from log db" % len(entries))
        return ok, entries, messages

    line_end = data.find(b"\n", 0, LONGEST_LINE + 1)
    if line_end < 0:
        if len(data) <= LONGEST_LINE:
            return answer(True)
        messages.append(b"Failed reading log db version info")
        return answer(False)
    messages.append(b"Reading log db version " + up_to_nul(data[:line_end]))

    position = line_end + 1
    while position < len(data):
        line_end = data.find(b"\n", position, position + LONGEST_LINE + 1)
        if line_end < 0:
            messages.append(b"Failed reading log db entry line")
            return answer(False)
        entries.append(entry_of_text(up_to_nul(data[position:line_end])))
        position = line_end + 1
    return answer(True)


def read_database(data):
    ok, entries, _ = read_database_with_messages(data)
    return ok, entries


def prefix_node_names(entries, root):
    """Section 7.2: what a load with a partition makes of the entries of a file that was read with success."""
    prefix = root + b"|"
    prefixed = []
    for kind, fields in entries:
        positions = NODE_POSITIONS.get(kind, ())
        prefixed.append((kind, [prefix + field if index in positions else field
                                for index, field in enumerate(fields)]))
    return prefixed


def load_database(data, root=None):
    """What a caller of the library gets: success, entries, reports. `data` is None if there is no file."""
    if data is None:
        return True, [], []
    ok, entries = read_database(data)
    if not ok:
        return False, entries, [FAILED_LOAD_REPORT]
    if root is not None:
        entries = prefix_node_names(entries, root)
    return True, entries, []


def write_database(entries, root=None):
    """Sections 5 and 7.1: the bytes of the file and the reports."""
    reports = []
    pieces = [b"v1\n"]

    def write_field(field):
        if b"," in field:
            reports.append(SEPARATOR_REPORT)
        pieces.append(field)
        pieces.append(b",")

    for kind, fields in entries:
        if kind not in DEBUG_NAMES:
            reports.append(ILLEGAL_KIND_REPORT)
        write_field(DEBUG_NAMES.get(kind, b""))
        node_positions = NODE_POSITIONS.get(kind, ()) if root is not None else ()
        for index, field in enumerate(fields):
            if index not in node_positions:
                write_field(field)
            elif len(field) > len(root) and field.startswith(root):
                rest = field[len(root):]
                write_field(rest[1:] if rest.startswith(b"|") else rest)
            else:
                reports.append(b"Detected node %s is not part of partition %s."
                               % (up_to_nul(field), up_to_nul(root)))
        pieces.append(b"\n")
    return b"".join(pieces), reports


# ------------------------------------------------------------------------------------------------------------
# The physical-synthesis log
# ------------------------------------------------------------------------------------------------------------

# Section 5: value, name, and the lines behind the keyword line for the kinds whose lines are plain lists of
# fields. A blank behind the last field of a line is one in the file. None stands for a kind with a subsection of
# its own.
MARKER = ()
RECORD_KINDS = [
    (0, "PRE_PLACEMENT_FLOW", MARKER),
    (1, "POST_PLACEMENT_FLOW", MARKER),
    (2, "INSERT_ATOM", ("m_node_name m_atom_kind", "m_related_name")),
    (3, "DELETE_ATOM", None),
    (6, "CREATE_ITERM", ("m_node_name m_port_type",)),
    (7, "CREATE_OTERM", ("m_node_name m_port_type", "m_related_name")),
    (8, "SET_LUTMASK", None),
    (9, "SET_USAGE_AS", ("m_node_name", "m_port_type m_port_index m_value")),
    (10, "RESET_DELAY_CHAIN", ("m_node_name m_port_type m_port_index m_chain_type",)),
    (11, "SET_CONNECTED_TO_DELAY_CHAIN", ("m_node_name m_port_type m_port_index m_chain_type m_connected",)),
    (12, "SET_DELAY_CHAIN_INDEX", ("m_node_name m_port_type m_port_index m_chain_type m_chain_index",)),
    (13, "SET_USER_DELAY_CHAIN", ("m_node_name m_port_type m_port_index m_chain_type m_user_delay_chain",)),
    (14, "CLEAR_INVERT", ("m_node_name m_port_type m_port_index",)),
    (15, "SET_INVERT", ("m_node_name m_port_type m_port_index",)),
    (16, "SET_GLOBAL", ("m_node_name m_port_type m_port_index m_value",)),
    (17, "CLEAR_GLOBAL", ("m_node_name m_port_type m_port_index",)),
    (18, "CLEAR_USAGE_AS", ("m_node_name m_port_type m_port_index",)),
    (19, "REPLACE_INPUT_TERM_BY_TYPE", ("m_node_name m_port_type m_port_index",)),
    (20, "REPLACE_OUTPUT_TERM_BY_TYPE", ("m_node_name m_port_type",)),
    (21, "REMOVE_UNORDERED_FANOUT_TERM", ("m_node_name m_port_type m_port_index",)),
    (22, "SET_INSTANCE_NAME", ("m_node_name m_value", "m_instance_name")),
    (23, "MOVE_BOUNDARY_PORT_ID", ("m_node_name", "m_source_port_id m_target_port_id")),
    (24, "SET_BOUNDARY_PORT_ID", ("m_node_name m_port_type m_port_index", "m_boundary_port_id")),
    (25, "DISCONNECT_BOUNDARY_PORT_ID", ("m_node_name m_port_type m_port_index",)),
    (26, "SET_ITERM_PROPERTIES", ("m_node_name m_port_type m_port_index",
                                  "m_property1 m_property2 m_property3 m_property4 m_property5 m_property6")),
    (27, "STORE_NODE_INFO", None),
    (28, "ADD_REMOVE_CONNECTION_LCELL_COMB", None),
    (29, "ADD_REMOVE_CONNECTION_LCELL_FF", None),
    (30, "ADD_REMOVE_CONNECTION_IO", None),
    (31, "ADD_REMOVE_CONNECTION_RAM", None),
    (32, "SET_OUTPUT_PORT_CLOCK", ("m_node_name m_port_type m_port_setting",)),
    (33, "SET_OUTPUT_PORT_CLEAR", ("m_node_name m_port_type m_port_setting",)),
    (34, "SET_INPUT_PORT_CLOCK", ("m_node_name m_port_type m_port_setting",)),
    (35, "SET_INPUT_PORT_CLEAR", ("m_node_name m_port_type m_port_setting",)),
    (36, "SET_INPUT_PORT_WIDTH", ("m_node_name m_port_type m_port_setting",)),
    (37, "CLEAR_ATOM_CONSTRAINTS", ("m_node_name",)),
    (38, "COPY_ATOM_LOCATION_CONSTRAINTS", ("m_node_name m_other_atom_name",)),
    (39, "COPY_OTERM_TIMING_ASSIGNMENTS", ("m_node_name", "m_first_oterm_name ", "m_second_oterm_name ")),
    (40, "SET_USER_LCELL", ("m_node_name",)),
    (41, "SET_INVERT_OBSERVABLE", ("m_node_name", "m_value")),
    (42, "END_OF_LOG_PRINT", MARKER),
    (43, "REVISION_NUMBER", MARKER),
    (44, "CONFIRM_CLKBUF", None),
    (45, "END_OF_LOG", MARKER),
]

LINES = {name: lines for _, name, lines in RECORD_KINDS}
FIELDS = {name: " ".join(lines).split() for name, lines in LINES.items() if lines is not None}
KEYWORDS = {name: b"PHYSICAL_SYNTHESIS_" + name.encode() for name in LINES}
KEYWORDS["REVISION_NUMBER"] = b"PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0"
KINDS_BY_KEYWORD = {keyword: name for name, keyword in KEYWORDS.items()}
SLOTS = {"ADD_REMOVE_CONNECTION_LCELL_COMB": 11, "ADD_REMOVE_CONNECTION_LCELL_FF": 9,
         "ADD_REMOVE_CONNECTION_IO": 16}
DELAY_CHAIN_KINDS = ("RESET_DELAY_CHAIN", "SET_CONNECTED_TO_DELAY_CHAIN", "SET_DELAY_CHAIN_INDEX",
                     "SET_USER_DELAY_CHAIN")

# Section 4. What is in neither list is a name.
INT_FIELDS = frozenset("""m_port_type m_value m_chain_type m_chain_index m_port_setting m_property2 m_property5
                          m_node_type m_lut_mode""".split())
INDEX_FIELDS = frozenset(["m_port_index"])
FLAG_FIELDS = frozenset("""m_atom_kind m_mask_option m_connected m_user_delay_chain m_property1 m_property3
                           m_property4 m_property6""".split())
NUMBER_FIELDS = INT_FIELDS | INDEX_FIELDS | FLAG_FIELDS

LONGEST_WORD = 4096
LONGEST_WRITTEN_LINE = 4095
PAD_TO_CORE = 8
END_WORD = b"LOGDB_FSYN_EOF"
END_OF_NAMES = b"END_OF_DELETE_ATOM"
END_OF_CONNECTIONS = b"End_of_ADD_REMOVE_Connection"
UNCHANGED = b"UNCHANGED"
NO_ENABLE = b"NO_ENABLE"
LUT_MODES = {b"NORMAL": 0, b"SUM": 1, b"CARRY": 2}

UNKNOWN_KIND_REPORT = b"Unrecognized log entry type"
UNKNOWN_WORD_REPORT = b"Unrecognized line in the log"
UNKNOWN_MODE_REPORT = b"Unrecognized lutmask type"

DECIMAL = re.compile(rb"[+-]?[0-9]+")
HEXADECIMAL = re.compile(rb"([+-]?)(?:0[xX](?=[0-9a-fA-F]))?([0-9a-fA-F]+)")


def decimal_of_word(word):
    match = DECIMAL.match(word)
    if match is None:
        return 0
    return max(-2**63, min(int(match.group()), 2**63 - 1))


def hex_of_word(word):
    match = HEXADECIMAL.match(word)
    if match is None:
        return 0
    value = int(match.group(2), 16)
    if value > 2**64 - 1:
        return 2**64 - 1
    return (2**64 - value) % 2**64 if match.group(1) == b"-" else value


def as_int(number):
    return (number + 2**31) % 2**32 - 2**31


def as_index(number):
    return number % 2**16


def as_flag(number):
    return 0 if number == 0 else 1


def words_of(data):
    """Section 3. A word that holds the first NUL ends there, one that is too long loses its end."""
    return [word[:LONGEST_WORD] for word in data.split(b"\0", 1)[0].split()]


class LogReader:
    """Reads a log step by step. `events` holds reports and messages in order, as ("report" or "message", text)."""

    def __init__(self, data):
        self.events = []
        self._words = iter(words_of(data))
        self._cut_list_told = False

    def step(self):
        """Section 8: the next record as (kind name, fields), or None."""
        while True:
            word = self._word()
            if word is None or word == END_WORD:
                return None
            kind = KINDS_BY_KEYWORD.get(word)
            if kind is not None:
                return kind, self._fields(kind)
            self._report(UNKNOWN_WORD_REPORT)

    def _report(self, text):
        self.events.append(("report", text))

    def _word(self):
        """The next word, or None for the end of the file."""
        return next(self._words, None)

    def _name(self):
        word = self._word()
        return END_WORD if word is None else word

    def _decimal(self):
        word = self._word()
        return 0 if word is None else decimal_of_word(word)

    def _hex(self):
        word = self._word()
        return 0 if word is None else hex_of_word(word)

    def _item(self):
        """A word inside a list; what is missing is told once for a record."""
        word = self._word()
        if word is None and not self._cut_list_told:
            self._cut_list_told = True
            self.events.append(("message", b"The log ends inside a list of a %s record" % KEYWORDS[self._kind]))
        return word

    def _field(self, name):
        if name in INT_FIELDS:
            return as_int(self._decimal())
        if name in INDEX_FIELDS:
            return as_index(self._decimal())
        if name in FLAG_FIELDS:
            return as_flag(self._decimal())
        return self._name()

    def _mask(self):
        low = self._hex()
        high = self._hex()
        return ((high * 2**32) | low) % 2**64

    def _fields(self, kind):
        self._kind = kind
        self._cut_list_told = False
        if kind in FIELDS:
            return {name: self._field(name) for name in FIELDS[kind]}
        if kind in SLOTS:
            return self._slots(SLOTS[kind])
        return {
            "DELETE_ATOM": self._deleted_atoms,
            "SET_LUTMASK": self._lut_mask,
            "ADD_REMOVE_CONNECTION_RAM": self._ram_connections,
            "STORE_NODE_INFO": self._node_info,
            "CONFIRM_CLKBUF": self._clock_buffer,
        }[kind]()

    def _deleted_atoms(self):
        fields = {"m_node_name": self._name(), "m_deleted_names": []}
        while True:
            word = self._item()
            if word is None or word == END_OF_NAMES:
                return fields
            fields["m_deleted_names"].append(word)

    def _lut_mask(self):
        fields = {"m_node_name": self._name()}
        fields["m_lut_mask"] = self._mask()
        fields["m_mask_option"] = as_flag(self._decimal())
        word = self._word()
        if word not in LUT_MODES:
            self._report(UNKNOWN_MODE_REPORT)
        fields["m_lut_mode"] = LUT_MODES.get(word, 0)
        return fields

    def _slots(self, number_of_slots):
        sources = [UNCHANGED] * number_of_slots
        fields = {"m_node_name": self._name(), "m_port_sources": sources}
        while True:
            word = self._item()
            if word is None or word == END_OF_CONNECTIONS:
                return fields
            name = self._item()
            if name is None:
                return fields
            index = as_int(decimal_of_word(word))
            if 0 <= index < number_of_slots:
                sources[index] = name

    def _ram_connections(self):
        fields = {"m_node_name": self._name(), "m_ram_port_types": [], "m_ram_port_indices": [],
                  "m_ram_source_names": []}
        while True:
            word = self._item()
            if word is None or word == END_OF_CONNECTIONS:
                return fields
            index = self._item()
            name = self._item()
            if name is None:
                return fields
            fields["m_ram_port_types"].append(as_int(decimal_of_word(word)))
            fields["m_ram_port_indices"].append(as_index(decimal_of_word(index)))
            fields["m_ram_source_names"].append(name)

    def _port_groups(self, word, introduction, types, names):
        """The groups that `introduction` begins, from `word` on; gives the word behind them, or None."""
        while word == introduction:
            types.append(as_int(self._decimal()))
            names.append(self._name())
            word = self._word()
        return word

    def _node_info(self):
        fields = {"m_node_name": self._name(), "m_node_type": as_int(self._decimal())}
        lists = {name: [] for name in
                 ("m_input_port_types", "m_input_port_names", "m_output_port_types", "m_output_port_names")}
        word = self._port_groups(self._word(), b"Port", lists["m_input_port_types"], lists["m_input_port_names"])
        self._port_groups(word, b"Output", lists["m_output_port_types"], lists["m_output_port_names"])
        return {**fields, **lists, "m_lut_mask": self._mask()}

    def _clock_buffer(self):
        fields = {"m_node_name": self._name(), "m_value": as_int(self._decimal())}
        fields["m_clkbuf_second_name"] = self._name()
        fields["m_clkbuf_first_name"] = self._name()
        enable = self._name()
        fields["m_enable_name"] = b"" if enable == NO_ENABLE else enable
        return fields


def read_log(data):
    """The records in front of the first step that gives nothing, the reports, and the number of messages."""
    reader = LogReader(data)
    records = []
    record = reader.step()
    while record is not None:
        records.append(record)
        record = reader.step()
    reports = [text for event, text in reader.events if event == "report"]
    return records, reports, len(reader.events) - len(reports)


def writing_stops_the_process(record):
    """Section 6.6: the library's writer traps behind the bytes that `write_record` gives."""
    return record[0] == "SET_INSTANCE_NAME"


def write_record(record):
    """Sections 5 to 7. A record is (kind name, fields), or (number, fields) for a kind that does not exist."""
    kind, fields = record
    if kind not in KEYWORDS:
        return b""
    lines = [KEYWORDS[kind]] + _lines_behind_keyword(kind, fields)
    return b"".join(line[:LONGEST_WRITTEN_LINE] + b"\n" for line in lines)


def write_reports(record):
    """The reports that come with writing the record, all of them behind its bytes."""
    kind, fields = record
    if kind not in KEYWORDS:
        return [UNKNOWN_KIND_REPORT]
    if kind in DELAY_CHAIN_KINDS and fields.get("m_chain_type", 0) != PAD_TO_CORE:
        return [b"((LOGDB_FSYN_LOG_ENTRY_%s *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE" % kind.encode()]
    return []


def copy_log(data):
    """What appending the records of a log to an empty one gives: the bytes and all reports, in order.

    Each record is written before the next one is read, and the step that gives nothing ends the copy."""
    reader = LogReader(data)
    pieces = []
    record = reader.step()
    while record is not None:
        pieces.append(write_record(record))
        reader.events.extend(("report", text) for text in write_reports(record))
        record = reader.step()
    return b"".join(pieces), [text for event, text in reader.events if event == "report"]


def _text_of_field(fields, name):
    if name in NUMBER_FIELDS:
        return b"%d" % fields.get(name, 0)
    return up_to_nul(fields.get(name, b""))


def _halves(fields):
    mask = fields.get("m_lut_mask", 0)
    return b"%x %x" % (mask % 2**32, mask // 2**32)


def _partner(partners, index, missing):
    return partners[index] if index < len(partners) else missing


def _lines_behind_keyword(kind, fields):
    if writing_stops_the_process((kind, fields)):
        return [_plain_line(fields, LINES[kind][0])]
    if LINES[kind] is not None:
        return [_plain_line(fields, line) for line in LINES[kind]]
    node_name = _text_of_field(fields, "m_node_name")
    if kind == "DELETE_ATOM":
        return [node_name] + [up_to_nul(name) for name in fields.get("m_deleted_names", [])] + [END_OF_NAMES]
    if kind == "SET_LUTMASK":
        mode = {0: b"NORMAL", 1: b"SUM"}.get(fields.get("m_lut_mode", 0), b"CARRY")
        return [node_name, _halves(fields) + b" " + _text_of_field(fields, "m_mask_option"), mode]
    if kind == "ADD_REMOVE_CONNECTION_RAM":
        return [node_name] + _ram_lines(fields) + [END_OF_CONNECTIONS]
    if kind in SLOTS:
        slots = [b"%d %s" % (index, up_to_nul(name))
                 for index, name in enumerate(fields.get("m_port_sources", [])) if name != UNCHANGED]
        return [node_name] + slots + [END_OF_CONNECTIONS]
    if kind == "STORE_NODE_INFO":
        return ([node_name + b" " + _text_of_field(fields, "m_node_type")]
                + _port_lines(fields, b"Port", "m_input_port") + _port_lines(fields, b"Output", "m_output_port")
                + [b"LUTMASK", _halves(fields)])
    assert kind == "CONFIRM_CLKBUF", kind
    enable = _text_of_field(fields, "m_enable_name") if fields.get("m_enable_name", b"") else NO_ENABLE
    return [node_name, _plain_line(fields, "m_value m_clkbuf_second_name"),
            _plain_line(fields, "m_clkbuf_first_name"), enable]


def _plain_line(fields, line):
    # Splitting at single blanks keeps the one at the end of a line as an empty last item.
    return b" ".join(_text_of_field(fields, name) if name else b"" for name in line.split(" "))


def _ram_lines(fields):
    types = fields.get("m_ram_port_types", [])
    indices = fields.get("m_ram_port_indices", [])
    return [b"%d %d %s" % (_partner(types, index, 0), _partner(indices, index, 0), up_to_nul(name))
            for index, name in enumerate(fields.get("m_ram_source_names", []))]


def _port_lines(fields, introduction, prefix):
    names = fields.get(prefix + "_names", [])
    return [b"%s %d %s" % (introduction, port_type, up_to_nul(_partner(names, index, b"")))
            for index, port_type in enumerate(fields.get(prefix + "_types", []))]
