// How synthesis's own cells become cells of the target.

(* techmap_celltype = "RAM_512_16" *)
module map_ram (
   input CLK1,
   input A1EN,
   input [8:0] A1ADDR,
   input [15:0] A1DATA,
   input CLK2,
   input B1EN,
   input [8:0] B1ADDR,
   output [15:0] B1DATA
);
   parameter INIT = 0;
   parameter CLKPOL1 = 1;
   parameter CLKPOL2 = 1;

   RAM #(.CONTENTS(INIT)) ram (
      .write_clock(CLK1), .write_enable(A1EN), .write_address(A1ADDR), .write_data(A1DATA),
      .read_clock(CLK2), .read_enable(B1EN), .read_address(B1ADDR), .read_data(B1DATA));
endmodule

// A multiplier takes 18 signed bits; an unsigned operand needs one of them for its sign.
(* techmap_celltype = "$mul" *)
module map_multiply (A, B, Y);
   parameter A_SIGNED = 0;
   parameter B_SIGNED = 0;
   parameter A_WIDTH = 1;
   parameter B_WIDTH = 1;
   parameter Y_WIDTH = 1;
   (* force_downto *) input [A_WIDTH-1:0] A;
   (* force_downto *) input [B_WIDTH-1:0] B;
   (* force_downto *) output [Y_WIDTH-1:0] Y;

   wire _TECHMAP_FAIL_ = A_WIDTH + !A_SIGNED > 18 || B_WIDTH + !B_SIGNED > 18 || Y_WIDTH > 36;
   wire [17:0] a = {{18 - A_WIDTH{A_SIGNED && A[A_WIDTH-1]}}, A};
   wire [17:0] b = {{18 - B_WIDTH{B_SIGNED && B[B_WIDTH-1]}}, B};
   wire [35:0] result;

   assign Y = result[Y_WIDTH-1:0];
   MULTIPLIER multiplier (.a(a), .b(b), .result(result));
endmodule
