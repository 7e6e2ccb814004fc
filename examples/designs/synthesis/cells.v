// The cells of the target that synthesis does not look into.

(* blackbox *)
module RAM (
   input write_clock,
   input write_enable,
   input [8:0] write_address,
   input [15:0] write_data,
   input read_clock,
   input read_enable,
   input [8:0] read_address,
   output [15:0] read_data
);
   parameter CONTENTS = 0;
endmodule

// Signed.
(* blackbox *)
module MULTIPLIER (
   input [17:0] a,
   input [17:0] b,
   output [35:0] result
);
endmodule
