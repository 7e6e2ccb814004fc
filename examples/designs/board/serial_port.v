// Serial transmitter: one start bit, eight data bits from the lowest, one stop bit.
module serial_transmitter (
   input clock,
   input reset_n,
   input bit_tick,
   input pause,
   input [7:0] data,
   input available,
   output take,
   output reg line
);
   reg [8:0] shift;
   reg [3:0] bits_left;
   wire idle = bits_left == 0;

   assign take = idle && available && bit_tick && !pause;

   // The FIFO shows the word one cycle after it was taken, long before the next tick.
   reg taken;

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         shift <= 0;
         bits_left <= 0;
         taken <= 0;
         line <= 0;
      end else begin
         taken <= take;
         if (taken) begin
            shift <= {1'b1, data};
            bits_left <= 10;
         end else if (bit_tick && !idle) begin
            // The line is kept inverted here, so that it rests at 1 after power-up too.
            line <= bits_left == 10 ? 1'b1 : !shift[0];
            if (bits_left != 10)
               shift <= {1'b1, shift[8:1]};
            bits_left <= bits_left - 1;
         end
      end
endmodule

// Serial receiver: finds the start bit, then takes each bit in its middle.
module serial_receiver #(
   parameter CLOCKS_PER_BIT = 8
) (
   input clock,
   input reset_n,
   input line,
   output reg [7:0] data,
   output reg valid,
   output reg framing_error
);
   localparam HALF = CLOCKS_PER_BIT / 2;

   reg [2:0] line_history;
   reg [7:0] clocks_left;
   reg [3:0] bits_left;
   reg receiving;
   wire line_now = line_history[1];
   wire start = !receiving && line_history[2] && !line_now;

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         line_history <= 0;
         clocks_left <= 0;
         bits_left <= 0;
         receiving <= 0;
         data <= 0;
         valid <= 0;
         framing_error <= 0;
      end else begin
         line_history <= {line_history[1:0], line};
         valid <= 0;
         if (start) begin
            receiving <= 1;
            bits_left <= 9;
            clocks_left <= CLOCKS_PER_BIT + HALF - 2;
         end else if (receiving && clocks_left != 0) begin
            clocks_left <= clocks_left - 1;
         end else if (receiving) begin
            clocks_left <= CLOCKS_PER_BIT - 1;
            bits_left <= bits_left - 1;
            if (bits_left == 1) begin
               receiving <= 0;
               valid <= line_now;
               framing_error <= !line_now;
            end else begin
               data <= {line_now, data[7:1]};
            end
         end
      end
endmodule

// Serial port with a FIFO in each direction.
module serial_port #(
   parameter CLOCKS_PER_BIT = 8
) (
   input clock,
   input reset_n,
   input receive_line,
   output transmit_line,
   input write,
   input [7:0] write_data,
   input read,
   output [7:0] read_data,
   output [15:0] status
);
   reg [7:0] tick_counter;
   wire bit_tick = tick_counter == CLOCKS_PER_BIT - 1;

   always @(posedge clock or negedge reset_n)
      if (!reset_n)
         tick_counter <= 0;
      else
         tick_counter <= bit_tick ? 8'd0 : tick_counter + 8'd1;

   wire [7:0] transmit_data;
   wire [7:0] received_data;
   wire transmit_empty, transmit_full, transmit_take;
   wire receive_empty, receive_full, received, framing_error, line_inverted;
   wire [8:0] transmit_level, receive_level;

   assign transmit_line = !line_inverted;
   assign status = {
      receive_level[7:0], 3'b000, framing_error, receive_full, receive_empty, transmit_full, transmit_empty};

   fifo #(.WIDTH(8), .ADDRESS_WIDTH(8)) u_transmit_fifo (
      .clock(clock), .reset_n(reset_n), .write(write), .write_data(write_data), .read(transmit_take),
      .read_data(transmit_data), .empty(transmit_empty), .full(transmit_full), .level(transmit_level));

   serial_transmitter u_transmitter (
      .clock(clock), .reset_n(reset_n), .bit_tick(bit_tick), .pause(1'b0), .data(transmit_data),
      .available(!transmit_empty), .take(transmit_take), .line(line_inverted));

   serial_receiver #(.CLOCKS_PER_BIT(CLOCKS_PER_BIT)) u_receiver (
      .clock(clock), .reset_n(reset_n), .line(receive_line), .data(received_data), .valid(received),
      .framing_error(framing_error));

   fifo #(.WIDTH(8), .ADDRESS_WIDTH(8)) u_receive_fifo (
      .clock(clock), .reset_n(reset_n), .write(received), .write_data(received_data), .read(read),
      .read_data(read_data), .empty(receive_empty), .full(receive_full), .level(receive_level));
endmodule
