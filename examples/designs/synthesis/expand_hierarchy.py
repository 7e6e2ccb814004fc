#!/usr/bin/env python3
"""Expands the hierarchy of a synthesized design and writes it as BLIF.

usage: expand_hierarchy.py DESIGN.json TOP

Reads the JSON that yosys writes and prints the netlist. Levels of names are separated by "|", the first level
is the top module. A LUT or register carries the name of the signal that it drives; one without a named output
is called after the nearest named signal that it feeds, with "~" and a number. Names are chosen inside each
module, so that two instances of a module differ in nothing but the path in front.
"""

import json
import re
import sys

RANGE = re.compile(r"^(.*)\[(\d+)\]$")

# The one register that synthesis leaves: rising clock, enable at 1, asynchronous clear at 1.
REGISTER_TYPE = "$_DFFE_PP0P_"
REGISTER_PINS = {"D": "data", "C": "clock", "E": "enable", "R": "clear", "Q": "out"}
OUTPUT_PINS = {"$lut": ["Y"], REGISTER_TYPE: ["Q"], "RAM": ["read_data"], "MULTIPLIER": ["result"]}

# What these are when they are open: 1. All other pins are 0.
ENABLE_PINS = ("E", "read_enable")


def natural(name):
    """A sort key that puts data[9] in front of data[10]."""
    return [int(piece) if piece.isdigit() else piece for piece in re.split(r"(\d+)", name)]


class Names:
    """The names of the cells and of the nets that they drive, inside one module."""

    def __init__(self, module):
        self.cells = module["cells"]
        self.public = self.public_names(module)
        self.readers = self.reader_table(module)
        self.used = set()
        self.numbers = {}
        self.of_cell = {}
        for cell_name in sorted(self.cells, key=natural):
            cell = self.cells[cell_name]
            if cell["type"] in OUTPUT_PINS:
                self.of_cell[cell_name] = self.choose(cell_name, cell)

    @staticmethod
    def public_names(module):
        """For each bit the shortest name that a person gave it."""
        names = {}
        for name, net in module["netnames"].items():
            if net["hide_name"]:
                continue
            for index, bit in enumerate(net["bits"]):
                text = f"{name}[{index + net.get('offset', 0)}]" if len(net["bits"]) > 1 else name
                if bit not in names or (len(text), text) < (len(names[bit]), names[bit]):
                    names[bit] = text
        return names

    def reader_table(self, module):
        """For each bit what reads it: instances by name, LUTs and registers by their output bit."""
        readers = {}
        for cell_name in sorted(self.cells, key=natural):
            cell = self.cells[cell_name]
            outputs = OUTPUT_PINS.get(cell["type"], [])
            small = cell["type"] in ("$lut", REGISTER_TYPE)
            reader = cell["connections"][outputs[0]][0] if small else instance_name(cell_name)
            for pin, bits in cell["connections"].items():
                if pin not in outputs:
                    for bit in bits:
                        readers.setdefault(bit, []).append(reader)
        return readers

    def nearest(self, bits):
        """The name nearest behind the bits, over LUTs and registers without a name."""
        seen = set(bits)
        while bits:
            following = []
            for bit in bits:
                for reader in self.readers.get(bit, []):
                    if isinstance(reader, str):
                        return reader
                    if reader in self.public:
                        return self.public[reader]
                    if reader not in seen:
                        seen.add(reader)
                        following.append(reader)
            bits = following
        return "unread"

    def choose(self, cell_name, cell):
        if cell["type"] == "RAM":
            return self.unique(instance_name(cell_name))
        bits = cell["connections"][OUTPUT_PINS[cell["type"]][0]]
        if cell["type"] == "MULTIPLIER":
            named = [self.public[bit] for bit in bits if bit in self.public]
            return self.unique((named[0] if named else self.nearest(bits)).split("[")[0] + "~multiplier")
        if bits[0] in self.public:
            return self.unique(self.public[bits[0]])
        return self.numbered(self.nearest(bits))

    def numbered(self, base):
        number = self.numbers.get(base, 0)
        self.numbers[base] = number + 1
        return self.unique(f"{base}~{number}")

    def unique(self, name):
        if name in self.used:
            sys.exit(f"two cells are named {name}")
        self.used.add(name)
        return name


def instance_name(cell_name):
    """memory.0.0.0.ram is memory; an instance keeps its name."""
    return cell_name.split(".")[0]


class Expansion:
    """All cells of the design with their pins on nets, and the nets joined over the borders of the modules."""

    def __init__(self, modules, top):
        self.modules = modules
        self.joined = []
        self.net_names = {}
        self.cells = []
        self.names = {name: Names(module) for name, module in modules.items() if not is_cell(module)}
        self.constants = {"0": self.new_net(), "1": self.new_net()}
        self.constants["x"] = self.constants["0"]
        self.pins = []
        self.expand_top(top)

    def new_net(self):
        self.joined.append(len(self.joined))
        return len(self.joined) - 1

    def find(self, net):
        while self.joined[net] != net:
            net = self.joined[net]
        return net

    def join(self, left, right):
        self.joined[self.find(left)] = self.find(right)

    def expand_top(self, top):
        bound = {}
        for port, description in self.modules[top]["ports"].items():
            for index, bit in enumerate(description["bits"]):
                name = f"{top}|{port}[{index}]" if len(description["bits"]) > 1 else f"{top}|{port}"
                net = self.new_net()
                self.bind(bound, bit, net)
                self.pins.append((description["direction"], name, net))
                if description["direction"] == "input":
                    self.net_names[net] = name
        self.expand(top, top, bound)

    def bind(self, bound, bit, net):
        """A bit that two ports share, or that is constant, joins nets outside."""
        if bit in self.constants:
            self.join(net, self.constants[bit])
        elif bit in bound:
            self.join(net, bound[bit])
        else:
            bound[bit] = net

    def expand(self, module_name, path, nets):
        def net_of(bit):
            if bit in self.constants:
                return self.constants[bit]
            if bit not in nets:
                nets[bit] = self.new_net()
            return nets[bit]

        for cell_name, cell in self.modules[module_name]["cells"].items():
            if cell["type"] in OUTPUT_PINS:
                self.add_cell(module_name, path, cell_name, cell, net_of)
                continue
            child = self.modules[cell["type"]]
            bound = {}
            for port, bits in cell["connections"].items():
                for inside, outside in zip(child["ports"][port]["bits"], bits):
                    self.bind(bound, inside, net_of(outside))
            self.expand(cell["type"], f"{path}|{cell_name}", bound)

    def add_cell(self, module_name, path, cell_name, cell, net_of):
        """A pin on the constant that an open pin has anyway is left open."""
        name = f"{path}|{self.names[module_name].of_cell[cell_name]}"
        inputs, outputs = [], []
        for pin, bits in cell["connections"].items():
            is_output = pin in OUTPUT_PINS[cell["type"]]
            for index, bit in enumerate(bits):
                text = f"{pin}[{index}]" if len(bits) > 1 else pin
                if is_output:
                    outputs.append((text, net_of(bit)))
                elif cell["type"] == "$lut" or bit not in (["1", "x"] if pin in ENABLE_PINS else ["0", "x"]):
                    inputs.append((text, net_of(bit)))
        for text, net in outputs:
            single = cell["type"] in ("$lut", REGISTER_TYPE)
            self.net_names.setdefault(net, name if single else f"{name}~{text}")
        self.cells.append((cell["type"], name, inputs, outputs, cell["parameters"]))

    def final_names(self, top):
        """The name of each joined net, and the constants that somebody reads."""
        names = {self.find(self.constants["0"]): f"{top}|GND", self.find(self.constants["1"]): f"{top}|VCC"}
        for net, name in self.net_names.items():
            if self.find(net) in names:
                sys.exit(f"{name} and {names[self.find(net)]} drive one net")
            names[self.find(net)] = name
        return names


def is_cell(module):
    return "blackbox" in module["attributes"]


def cover(table, width):
    """Product terms of a truth table: each row covers all that it can, rows that add nothing are left out."""
    ones = {value for value in range(1 << width) if table[len(table) - 1 - value] == "1"}
    covered, terms = set(), []
    for value in sorted(ones):
        if value in covered:
            continue
        term = {value}
        for position in range(width):
            wider = term | {other ^ (1 << position) for other in term}
            if wider <= ones:
                term = wider
        covered |= term
        terms.append(term)
    return ["".join(term_letter(term, position) for position in range(width)) for term in terms]


def term_letter(term, position):
    letters = {(value >> position) & 1 for value in term}
    return "-" if len(letters) == 2 else str(letters.pop())


def print_words(words):
    """One statement, its lines no longer than 110 characters where that is possible."""
    line = words[0]
    for word in words[1:]:
        if len(line) + len(word) > 108:
            print(line, "\\")
            line = " " + word
        else:
            line += " " + word
    print(line)


def print_lut(name, inputs, parameters):
    print_words([".names"] + inputs + [name])
    for term in cover(parameters["LUT"], len(inputs)):
        print(f"{term} 1" if term else "1")


def print_cell(cell, names, read):
    cell_type, name, inputs, outputs, parameters = cell
    if cell_type == "$lut":
        ordered = sorted(inputs, key=lambda pin: natural(pin[0]))
        print_lut(name, [names[net] for _, net in ordered], parameters)
        return
    is_register = cell_type == REGISTER_TYPE
    pins = inputs + [(text, net) for text, net in outputs if net in read or is_register]
    kind = "REGISTER" if is_register else cell_type
    words = [f"{REGISTER_PINS.get(text, text)}={names[net]}" for text, net in pins]
    print_words([".subckt", kind] + sorted(words, key=natural))
    print(".cname", name)
    contents = parameters.get("CONTENTS", "")
    if "1" in contents:
        print(".param CONTENTS", f"{int(contents.replace('x', '0'), 2):x}")


def print_blif(expansion, top):
    names = expansion.final_names(top)
    find = expansion.find
    cells = [(kind, name, [(pin, find(net)) for pin, net in inputs], [(pin, find(net)) for pin, net in outputs],
              parameters) for kind, name, inputs, outputs, parameters in expansion.cells]
    read = {net for cell in cells for _, net in cell[2]}
    read |= {find(net) for direction, _, net in expansion.pins if direction == "output"}

    print(".model", top)
    print_words([".inputs"] + [name for direction, name, _ in expansion.pins if direction == "input"])
    print_words([".outputs"] + [name for direction, name, _ in expansion.pins if direction == "output"])
    for text in ("0", "1"):
        net = find(expansion.constants[text])
        if net in read:
            print_lut(names[net], [], {"LUT": text})
    for cell in sorted(cells, key=lambda cell: natural(cell[1])):
        print_cell(cell, names, read)
    for direction, name, net in expansion.pins:
        if direction == "output":
            print_lut(name, [names[find(net)]], {"LUT": "10"})
    print(".end")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        modules = json.load(file)["modules"]
    print_blif(Expansion(modules, sys.argv[2]), sys.argv[2])


if __name__ == "__main__":
    main()
