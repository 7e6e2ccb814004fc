// A first-in first-out buffer in block memory. A word that is read stands on read_data from the next cycle on.
module fifo #(
   parameter WIDTH = 8,
   parameter ADDRESS_WIDTH = 8
) (
   input clock,
   input reset_n,
   input write,
   input [WIDTH-1:0] write_data,
   input read,
   output reg [WIDTH-1:0] read_data,
   output empty,
   output full,
   output [ADDRESS_WIDTH:0] level
);
   reg [WIDTH-1:0] memory [0:(1 << ADDRESS_WIDTH) - 1];
   reg [ADDRESS_WIDTH:0] write_pointer;
   reg [ADDRESS_WIDTH:0] read_pointer;

   wire write_now = write && !full;
   wire read_now = read && !empty;

   assign level = write_pointer - read_pointer;
   assign empty = write_pointer == read_pointer;
   assign full = level[ADDRESS_WIDTH];

   always @(posedge clock) begin
      if (write_now)
         memory[write_pointer[ADDRESS_WIDTH-1:0]] <= write_data;
      if (read_now)
         read_data <= memory[read_pointer[ADDRESS_WIDTH-1:0]];
   end

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         write_pointer <= 0;
         read_pointer <= 0;
      end else begin
         if (write_now)
            write_pointer <= write_pointer + 1;
         if (read_now)
            read_pointer <= read_pointer + 1;
      end
endmodule
