#include "passes.h"

void optimise(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   log.begin_pre_placement();
   remove_constant_controls(log, done);
   bool improved = true;
   while (improved) {
      improved = simplify_luts(log, done);
      improved = bypass_wires(log, done) || improved;
      improved = absorb_inverters(log, done) || improved;
   }
   sweep_dangling(log, done);
   settle_rams(log, done);

   log.begin_post_placement();
   gate_clocks(log, done);
   insert_clock_buffers(log, done);
   duplicate_registers(log, done);
   permute_lut_inputs(log, done);
   delay_inputs(log, done);
   log.end();
}
