// Runs the board: expects the greeting on the serial line, sends bytes and expects their echo, follows them
// through the filter of channel A, and looks at the scratch register and the lights. Ends with passed or
// FAILED.
`timescale 1ns / 1ns
module board_test;
   localparam CLOCKS_PER_BIT = 8;

   reg clock = 0;
   reg reset_n = 0;
   reg receive_line = 1;
   reg [7:0] switches = 8'h5a;
   wire transmit_line;
   wire [7:0] lights;
   integer failures = 0;
   integer received_count = 0;
   integer sent_count = 0;
   integer result_count = 0;
   reg [8*6-1:0] greeting = {"logdb", 8'd10};

   board u_board (
      .clock(clock), .reset_n(reset_n), .receive_line(receive_line), .transmit_line(transmit_line),
      .switches(switches), .lights(lights));

   always #5 clock = !clock;

   function [7:0] byte_to_send(input integer index);
      byte_to_send = "a" + index;
   endfunction

   function [7:0] expected_byte(input integer index);
      expected_byte = index < 6 ? greeting[8 * (5 - index) +: 8] : byte_to_send(index - 6);
   endfunction

   // What a terminal on the serial line would see.
   reg [7:0] received;
   integer bit_index;
   always @(negedge transmit_line) if (reset_n) begin
      repeat (CLOCKS_PER_BIT + CLOCKS_PER_BIT / 2) @(negedge clock);
      for (bit_index = 0; bit_index < 8; bit_index = bit_index + 1) begin
         received[bit_index] = transmit_line;
         repeat (CLOCKS_PER_BIT) @(negedge clock);
      end
      if (received !== expected_byte(received_count) || transmit_line !== 1) begin
         failures = failures + 1;
         $display("byte %0d is %h", received_count, received);
      end
      received_count = received_count + 1;
   end

   // The samples are the bytes times 16; a result leaves channel A seven samples later.
   function [15:0] expected_result(input integer index);
      integer tap, sum;
      begin
         sum = 0;
         for (tap = 0; tap < 4; tap = tap + 1)
            if (index - 7 - tap >= 0)
               sum = sum + (16'h4000 >> tap) * (byte_to_send(index - 7 - tap) * 16);
         expected_result = sum >> 15;
      end
   endfunction

   always @(posedge clock) if (u_board.u_channel_a.store) begin
      if (u_board.u_channel_a.gained !== expected_result(result_count)) begin
         failures = failures + 1;
         $display("result %0d is %0d", result_count, u_board.u_channel_a.gained);
      end
      result_count = result_count + 1;
   end

   task send(input [7:0] data);
      integer index;
      begin
         receive_line = 0;
         repeat (CLOCKS_PER_BIT) @(negedge clock);
         for (index = 0; index < 8; index = index + 1) begin
            receive_line = data[index];
            repeat (CLOCKS_PER_BIT) @(negedge clock);
         end
         receive_line = 1;
         repeat (CLOCKS_PER_BIT) @(negedge clock);
      end
   endtask

   initial begin
      repeat (4) @(negedge clock);
      reset_n = 1;
      repeat (700) @(negedge clock);
      for (sent_count = 0; sent_count < 24; sent_count = sent_count + 1) begin
         send(byte_to_send(sent_count));
         repeat (220) @(negedge clock);
      end
      if (u_board.u_registers.scratch !== 2100 || lights === 0) begin
         failures = failures + 1;
         $display("scratch register is %0d, lights are %h", u_board.u_registers.scratch, lights);
      end
      if (received_count != 30 || result_count != 24 || failures != 0)
         $display("FAILED: %0d bytes, %0d results, %0d wrong", received_count, result_count, failures);
      else
         $display("passed: %0d bytes, %0d results", received_count, result_count);
      $finish;
   end
endmodule
