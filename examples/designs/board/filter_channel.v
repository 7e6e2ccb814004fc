// One tap of a systolic filter: a sample moves on every second register, the sum every register.
module filter_tap (
   input clock,
   input reset_n,
   input advance,
   input signed [15:0] sample_in,
   input signed [39:0] sum_in,
   input coefficient_write,
   input signed [15:0] coefficient_data,
   output reg signed [15:0] sample_out,
   output reg signed [39:0] sum_out
);
   reg signed [15:0] coefficient;
   reg signed [15:0] sample;
   reg signed [31:0] product;

   always @(posedge clock or negedge reset_n)
      if (!reset_n)
         coefficient <= 0;
      else if (coefficient_write)
         coefficient <= coefficient_data;

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         sample <= 0;
         sample_out <= 0;
         product <= 0;
         sum_out <= 0;
      end else if (advance) begin
         sample <= sample_in;
         sample_out <= sample;
         product <= sample * coefficient;
         sum_out <= sum_in + product;
      end
endmodule

// A filter with four taps.
module filter (
   input clock,
   input reset_n,
   input advance,
   input signed [15:0] sample,
   input [3:0] coefficient_write,
   input signed [15:0] coefficient_data,
   output signed [39:0] result
);
   wire signed [15:0] sample_0, sample_1, sample_2, sample_3;
   wire signed [39:0] sum_0, sum_1, sum_2;

   filter_tap u_tap_0 (
      .clock(clock), .reset_n(reset_n), .advance(advance), .sample_in(sample), .sum_in(40'sd0),
      .coefficient_write(coefficient_write[0]), .coefficient_data(coefficient_data),
      .sample_out(sample_0), .sum_out(sum_0));
   filter_tap u_tap_1 (
      .clock(clock), .reset_n(reset_n), .advance(advance), .sample_in(sample_0), .sum_in(sum_0),
      .coefficient_write(coefficient_write[1]), .coefficient_data(coefficient_data),
      .sample_out(sample_1), .sum_out(sum_1));
   filter_tap u_tap_2 (
      .clock(clock), .reset_n(reset_n), .advance(advance), .sample_in(sample_1), .sum_in(sum_1),
      .coefficient_write(coefficient_write[2]), .coefficient_data(coefficient_data),
      .sample_out(sample_2), .sum_out(sum_2));
   filter_tap u_tap_3 (
      .clock(clock), .reset_n(reset_n), .advance(advance), .sample_in(sample_2), .sum_in(sum_2),
      .coefficient_write(coefficient_write[3]), .coefficient_data(coefficient_data),
      .sample_out(sample_3), .sum_out(result));
endmodule

// Multiplies by a gain (8 bits behind the point), and limits the result to 16 bits.
module gain_stage (
   input clock,
   input reset_n,
   input advance,
   input signed [15:0] value,
   input [7:0] gain,
   output reg signed [15:0] result
);
   reg signed [24:0] product;
   wire fits = product[24:22] == 3'b000 || product[24:22] == 3'b111;

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         product <= 0;
         result <= 0;
      end else if (advance) begin
         product <= value * $signed({1'b0, gain});
         if (fits)
            result <= product[22:7];
         else
            result <= product[24] ? 16'sh8000 : 16'sh7fff;
      end
endmodule

// Holds the largest magnitude since it was cleared.
module peak_meter (
   input clock,
   input reset_n,
   input clear,
   input valid,
   input signed [15:0] value,
   output reg [15:0] peak
);
   wire [15:0] magnitude = value[15] ? ~value : value;

   always @(posedge clock or negedge reset_n)
      if (!reset_n)
         peak <= 0;
      else if (clear)
         peak <= 0;
      else if (valid && magnitude > peak)
         peak <= magnitude;
endmodule

// A channel: samples wait in a FIFO, go through filter and gain, and the results wait in another FIFO.
module filter_channel (
   input clock,
   input reset_n,
   input [2:0] address,
   input write,
   input read,
   input [15:0] write_data,
   output reg [15:0] read_data,
   output busy
);
   localparam SAMPLE = 0, RESULT = 1, STATUS = 2, GAIN = 3, COEFFICIENT = 4;

   reg [7:0] gain;
   wire [15:0] sample, result, gained, peak;
   wire [39:0] filtered;
   wire sample_empty, sample_full, result_empty, result_full;
   wire [7:0] sample_level, result_level;

   wire coefficient_access = write && address[2];
   wire [3:0] coefficient_write = coefficient_access ? 4'd1 << address[1:0] : 4'd0;

   // A sample is taken, is on the FIFO's output one cycle later, and then everything advances by one.
   reg advance;
   wire take = !sample_empty && !result_full && !advance;
   reg store;
   assign busy = advance || store || !sample_empty;

   always @(posedge clock or negedge reset_n)
      if (!reset_n) begin
         advance <= 0;
         store <= 0;
         gain <= 8'd0;
      end else begin
         advance <= take;
         store <= advance;
         if (write && address == GAIN)
            gain <= write_data[7:0];
      end

   always @(*)
      case (address)
         RESULT: read_data = result;
         STATUS: read_data = {result_level, 3'b000, busy, result_full, result_empty, sample_full, sample_empty};
         GAIN: read_data = peak;
         default: read_data = 16'd0;
      endcase

   fifo #(.WIDTH(16), .ADDRESS_WIDTH(7)) u_sample_fifo (
      .clock(clock), .reset_n(reset_n), .write(write && address == SAMPLE), .write_data(write_data), .read(take),
      .read_data(sample), .empty(sample_empty), .full(sample_full), .level(sample_level));

   filter u_filter (
      .clock(clock), .reset_n(reset_n), .advance(advance), .sample(sample), .coefficient_write(coefficient_write),
      .coefficient_data(write_data), .result(filtered));

   gain_stage u_gain (
      .clock(clock), .reset_n(reset_n), .advance(advance), .value(filtered[30:15]), .gain(gain), .result(gained));

   peak_meter u_peak (
      .clock(clock), .reset_n(reset_n), .clear(write && address == STATUS), .valid(store), .value(gained),
      .peak(peak));

   fifo #(.WIDTH(16), .ADDRESS_WIDTH(7)) u_result_fifo (
      .clock(clock), .reset_n(reset_n), .write(store), .write_data(gained), .read(read && address == RESULT),
      .read_data(result), .empty(result_empty), .full(result_full), .level(result_level));
endmodule
