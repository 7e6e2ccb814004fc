// A controller of our own: 16-bit words, eight registers, three clocks an instruction.
//
//   15..12  11..9  8..6  5..3     effect
//   LOAD    d      n (9 bits)     d = n
//   APPEND  d      n (8 bits)     d = {d[7:0], n}
//   ADD SUB AND OR XOR  d a b     d = a op b
//   SHIFT   d      a     b        d = a << b[3:0]; bit 0 set: d = a >> b[3:0]
//   MULTIPLY d     a     b        d = low half of a * b
//   READ    d      a     n        d = memory[a + n], n of 6 bits
//   WRITE   d      a     n        memory[a + n] = d
//   INPUT   d      n (8 bits)     d = device n
//   OUTPUT  d      n (8 bits)     device n = d
//   IFZERO  d      n (9 bits)     when d is 0, go to n places from here (signed)
//   IFNOT   d      n (9 bits)     when d is not 0, go to n places from here (signed)
//   GOTO    n (12 bits)           go to n

// Shifts by 0 to 15 places.
module shifter (
   input [15:0] value,
   input [3:0] places,
   input right,
   output [15:0] result
);
   assign result = right ? value >> places : value << places;
endmodule

// What the three-operand instructions compute.
module arithmetic_unit (
   input [3:0] operation,
   input shift_right,
   input [15:0] a,
   input [15:0] b,
   output reg [15:0] result
);
   wire [15:0] shifted;
   wire [16:0] sum = a + (operation[0] ? ~b : b) + operation[0];

   always @(*)
      case (operation)
         4'd2, 4'd3: result = sum[15:0];
         4'd4: result = a & b;
         4'd5: result = a | b;
         4'd6: result = a ^ b;
         default: result = shifted;
      endcase

   shifter u_shifter (.value(a), .places(b[3:0]), .right(shift_right), .result(shifted));
endmodule

// Eight registers with two read ports.
module register_file (
   input clock,
   input write,
   input [2:0] write_address,
   input [15:0] write_data,
   input [2:0] address_a,
   input [2:0] address_b,
   output [15:0] data_a,
   output [15:0] data_b
);
   reg [15:0] registers [0:7];

   assign data_a = registers[address_a];
   assign data_b = registers[address_b];

   always @(posedge clock)
      if (write)
         registers[write_address] <= write_data;
endmodule

// What the instruction asks for.
module decoder (
   input [15:0] instruction,
   output [3:0] operation,
   output [2:0] destination,
   output [2:0] first,
   output [2:0] second,
   output writes_register,
   output writes_memory,
   output reads_memory,
   output reads_device,
   output writes_device,
   output jumps
);
   assign operation = instruction[15:12];
   assign destination = instruction[11:9];

   // WRITE, OUTPUT, APPEND and the conditions look at their first operand field.
   wire uses_destination =
      operation == 1 || operation == 10 || operation == 12 || operation == 13 || operation == 14;
   assign first = instruction[8:6];
   assign second = uses_destination ? destination : instruction[5:3];

   assign reads_memory = operation == 9;
   assign writes_memory = operation == 10;
   assign reads_device = operation == 11;
   assign writes_device = operation == 12;
   assign jumps = operation == 15;
   assign writes_register = operation <= 9 || operation == 11;
endmodule

module controller (
   input clock,
   input reset_n,
   output [7:0] device_address,
   output device_write,
   output device_read,
   output [15:0] device_write_data,
   input [15:0] device_read_data,
   output [11:0] program_address
);
   localparam FETCH = 0, EXECUTE = 1, FINISH = 2;

   reg [15:0] program_memory [0:511];
   reg [15:0] data_memory [0:255];
   localparam PROGRAM_WORDS = 69;
   initial $readmemh("program.hex", program_memory, 0, PROGRAM_WORDS - 1);

   reg [1:0] state;
   reg [11:0] program_counter;
   reg [15:0] instruction;
   reg [15:0] computed;
   reg [15:0] loaded;
   reg [31:0] product;
   assign program_address = program_counter;

   wire [3:0] operation;
   wire [2:0] destination, first, second;
   wire writes_register, writes_memory, reads_memory, reads_device, writes_device, jumps;
   wire [15:0] data_a, data_b, arithmetic_result;

   decoder u_decoder (
      .instruction(instruction), .operation(operation), .destination(destination), .first(first), .second(second),
      .writes_register(writes_register), .writes_memory(writes_memory), .reads_memory(reads_memory),
      .reads_device(reads_device), .writes_device(writes_device), .jumps(jumps));

   arithmetic_unit u_arithmetic (
      .operation(operation), .shift_right(instruction[0]), .a(data_a), .b(data_b), .result(arithmetic_result));

   wire executing = state == EXECUTE;
   wire finishing = state == FINISH;
   wire [7:0] memory_address = data_a[7:0] + {2'b00, instruction[5:0]};
   assign device_address = instruction[7:0];
   assign device_write = executing && writes_device;
   assign device_read = executing && reads_device;
   assign device_write_data = data_b;

   reg [15:0] write_back;
   always @(*)
      case (operation)
         4'd8: write_back = product[15:0];
         4'd9: write_back = loaded;
         4'd11: write_back = device_read_data;
         default: write_back = computed;
      endcase

   register_file u_registers (
      .clock(clock), .write(finishing && writes_register), .write_address(destination), .write_data(write_back),
      .address_a(first), .address_b(second), .data_a(data_a), .data_b(data_b));

   wire is_zero = data_b == 0;
   wire branch = (operation == 13 && is_zero) || (operation == 14 && !is_zero);
   wire [11:0] offset = {{3{instruction[8]}}, instruction[8:0]};
   wire [11:0] next_program_counter =
      jumps ? instruction[11:0] : program_counter + (branch ? offset : 12'd1);

   always @(posedge clock) begin
      if (state == FETCH)
         instruction <= program_memory[program_counter[8:0]];
      if (executing && writes_memory)
         data_memory[memory_address] <= data_b;
      if (executing && reads_memory)
         loaded <= data_memory[memory_address];
   end

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         state <= FETCH;
         program_counter <= 0;
         computed <= 0;
         product <= 0;
      end else begin
         state <= state == FINISH ? FETCH : state + 2'd1;
         if (executing) begin
            product <= data_a * data_b;
            case (operation)
               4'd0: computed <= {7'd0, instruction[8:0]};
               4'd1: computed <= {data_b[7:0], instruction[7:0]};
               default: computed <= arithmetic_result;
            endcase
         end
         if (finishing)
            program_counter <= next_program_counter;
      end
endmodule
