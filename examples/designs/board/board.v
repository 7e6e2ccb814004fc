// Switches, lights, a timer, and counts of the clocks in which a channel was busy and the serial line was low.
module board_registers (
   input clock,
   input reset_n,
   input [2:0] address,
   input write,
   input [15:0] write_data,
   output reg [15:0] read_data,
   input [7:0] switches,
   output reg [7:0] lights,
   input timer_run,
   input channel_busy,
   input serial_line
);
   localparam LIGHTS = 0, TIMER = 1, BUSY = 2, SCRATCH = 3, LOW = 4;

   reg [7:0] switches_met, switches_seen;
   reg [15:0] timer, busy_clocks, low_clocks, scratch;

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         switches_met <= 0;
         switches_seen <= 0;
         lights <= 0;
         timer <= 0;
         busy_clocks <= 0;
         low_clocks <= 0;
         scratch <= 0;
      end else begin
         switches_met <= switches;
         switches_seen <= switches_met;
         if (timer_run)
            timer <= write && address == TIMER ? 16'd0 : timer + 16'd1;
         if (!serial_line)
            low_clocks <= low_clocks + 16'd1;
         if (channel_busy)
            busy_clocks <= busy_clocks + 16'd1;
         if (write && address == LIGHTS)
            lights <= write_data[7:0];
         if (write && address == SCRATCH)
            scratch <= write_data;
      end

   always @(*)
      case (address)
         LIGHTS: read_data = {8'd0, switches_seen};
         TIMER: read_data = timer;
         BUSY: read_data = busy_clocks;
         SCRATCH: read_data = scratch;
         LOW: read_data = low_clocks;
         default: read_data = 16'd0;
      endcase
endmodule

// The top: the controller, and its devices. The serial port is at 0x00, the board's registers are at 0x08, the
// channels at 0x10 and 0x18.
module board (
   input clock,
   input reset_n,
   input receive_line,
   output transmit_line,
   input [7:0] switches,
   output [7:0] lights
);
   // The reset ends with the clock.
   reg [1:0] reset_release;
   wire reset_inside_n = reset_release[1];
   always @(posedge clock or negedge reset_n)
      if (!reset_n)
         reset_release <= 2'b00;
      else
         reset_release <= {reset_release[0], 1'b1};

   wire [7:0] device_address;
   wire device_write, device_read;
   wire [15:0] device_write_data;
   reg [15:0] device_read_data;
   wire [11:0] program_address;

   controller u_controller (
      .clock(clock), .reset_n(reset_inside_n), .device_address(device_address), .device_write(device_write),
      .device_read(device_read), .device_write_data(device_write_data), .device_read_data(device_read_data),
      .program_address(program_address));

   wire select_serial = device_address[7:3] == 0;
   wire select_registers = device_address[7:3] == 1;
   wire select_a = device_address[7:3] == 2;
   wire select_b = device_address[7:3] == 3;

   wire [7:0] serial_data;
   wire [15:0] serial_status, registers_data, a_data, b_data;
   wire a_busy, b_busy;

   always @(*)
      case (device_address[4:3])
         2'd0: device_read_data = device_address[0] ? serial_status : {8'd0, serial_data};
         2'd1: device_read_data = registers_data;
         2'd2: device_read_data = a_data;
         2'd3: device_read_data = b_data;
      endcase

   serial_port #(.CLOCKS_PER_BIT(8)) u_serial (
      .clock(clock), .reset_n(reset_inside_n), .receive_line(receive_line), .transmit_line(transmit_line),
      .write(device_write && select_serial), .write_data(device_write_data[7:0]),
      .read(device_read && select_serial && !device_address[0]), .read_data(serial_data), .status(serial_status));

   board_registers u_registers (
      .clock(clock), .reset_n(reset_inside_n), .address(device_address[2:0]),
      .write(device_write && select_registers), .write_data(device_write_data), .read_data(registers_data),
      .switches(switches), .lights(lights), .timer_run(1'b1), .channel_busy(a_busy || b_busy),
      .serial_line(transmit_line));

   filter_channel u_channel_a (
      .clock(clock), .reset_n(reset_inside_n), .address(device_address[2:0]), .write(device_write && select_a),
      .read(device_read && select_a), .write_data(device_write_data), .read_data(a_data), .busy(a_busy));

   filter_channel u_channel_b (
      .clock(clock), .reset_n(reset_inside_n), .address(device_address[2:0]), .write(device_write && select_b),
      .read(device_read && select_b), .write_data(device_write_data), .read_data(b_data), .busy(b_busy));
endmodule
