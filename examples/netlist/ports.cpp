#include "ports.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array PORTS = {
    PORT{ATOM_KIND::LUT, "in", false, LUT_INPUT, LUT_INPUTS},
    PORT{ATOM_KIND::LUT, "out", true, LUT_OUTPUT, 1},
    PORT{ATOM_KIND::REGISTER, "data", false, REGISTER_DATA, 1},
    PORT{ATOM_KIND::REGISTER, "clock", false, REGISTER_CLOCK, 1},
    PORT{ATOM_KIND::REGISTER, "enable", false, REGISTER_ENABLE, 1},
    PORT{ATOM_KIND::REGISTER, "clear", false, REGISTER_CLEAR, 1},
    PORT{ATOM_KIND::REGISTER, "out", true, REGISTER_OUTPUT, 1},
    PORT{ATOM_KIND::RAM, "write_clock", false, RAM_WRITE_CLOCK, 1},
    PORT{ATOM_KIND::RAM, "write_enable", false, RAM_WRITE_ENABLE, 1},
    PORT{ATOM_KIND::RAM, "write_address", false, RAM_WRITE_ADDRESS, RAM_ADDRESS_BITS},
    PORT{ATOM_KIND::RAM, "write_data", false, RAM_WRITE_DATA, RAM_DATA_BITS},
    PORT{ATOM_KIND::RAM, "read_clock", false, RAM_READ_CLOCK, 1},
    PORT{ATOM_KIND::RAM, "read_enable", false, RAM_READ_ENABLE, 1},
    PORT{ATOM_KIND::RAM, "read_address", false, RAM_READ_ADDRESS, RAM_ADDRESS_BITS},
    PORT{ATOM_KIND::RAM, "read_data", true, RAM_READ_DATA, RAM_DATA_BITS},
    PORT{ATOM_KIND::MULTIPLIER, "a", false, MULTIPLIER_A, MULTIPLIER_OPERAND_BITS},
    PORT{ATOM_KIND::MULTIPLIER, "b", false, MULTIPLIER_B, MULTIPLIER_OPERAND_BITS},
    PORT{ATOM_KIND::MULTIPLIER, "result", true, MULTIPLIER_RESULT, MULTIPLIER_RESULT_BITS},
    PORT{ATOM_KIND::INPUT_PIN, "pad", false, PIN_PAD, 1},
    PORT{ATOM_KIND::INPUT_PIN, "out", true, PIN_OUTPUT, 1},
    PORT{ATOM_KIND::OUTPUT_PIN, "data", false, PIN_DATA, 1},
    PORT{ATOM_KIND::CLOCK_BUFFER, "in", false, BUFFER_INPUT, 1},
    PORT{ATOM_KIND::CLOCK_BUFFER, "enable", false, BUFFER_ENABLE, 1},
    PORT{ATOM_KIND::CLOCK_BUFFER, "out", true, BUFFER_OUTPUT, 1},
};

template <class CONDITION> const PORT* find_port_if(CONDITION condition) {
   const auto port = std::find_if(PORTS.begin(), PORTS.end(), condition);
   return port == PORTS.end() ? nullptr : &*port;
}

} // namespace

const PORT* find_port(ATOM_KIND kind, std::string_view name) {
   return find_port_if([&](const PORT& port) { return port.m_kind == kind && port.m_name == name; });
}

const PORT* find_port(ATOM_KIND kind, bool is_output, int type) {
   return find_port_if([&](const PORT& port) {
      return port.m_kind == kind && port.m_is_output == is_output && port.m_type == type;
   });
}

bool value_when_open(int input_type) {
   return input_type == REGISTER_ENABLE || input_type == RAM_READ_ENABLE || input_type == BUFFER_ENABLE;
}

const char* kind_name(ATOM_KIND kind) {
   switch (kind) {
   case ATOM_KIND::LUT:
      return "lut";
   case ATOM_KIND::REGISTER:
      return "register";
   case ATOM_KIND::RAM:
      return "ram";
   case ATOM_KIND::MULTIPLIER:
      return "multiplier";
   case ATOM_KIND::INPUT_PIN:
      return "input_pin";
   case ATOM_KIND::OUTPUT_PIN:
      return "output_pin";
   case ATOM_KIND::CLOCK_BUFFER:
      return "clock_buffer";
   }
   return "";
}
