#include "packing_search.h"

#include <algorithm>
#include <array>
#include <set>
#include <tuple>
#include <utility>

namespace {

/// A register and what it could be packed with.
struct CANDIDATE {
   PATTERN m_pattern = PATTERN::BEHIND_LUT;
   const ATOM* m_register = nullptr;
   const ATOM* m_partner = nullptr;
   int m_shared_inputs = 0; ///< how many inputs of the partner the register feeds
};

/// Different nets at an operand: bits that repeat the sign cost nothing.
int operand_width(const ATOM& multiplier, int operand) {
   std::set<const NET*> nets;
   for (const INPUT_TERMINAL& input : multiplier.m_inputs) {
      if (input.m_type == operand && input.m_net != nullptr) {
         nets.insert(input.m_net);
      }
   }
   return static_cast<int>(nets.size());
}

/// What a multiplier would cost in logic cells, roughly.
int cost_in_logic(const ATOM& multiplier) {
   return operand_width(multiplier, MULTIPLIER_A) * operand_width(multiplier, MULTIPLIER_B);
}

/// How many levels of the hierarchy two names have in common.
int common_levels(const std::string& left, const std::string& right) {
   int levels = 0;
   for (std::size_t index = 0; index < left.size() && index < right.size() && left[index] == right[index];
        ++index) {
      levels += left[index] == '|' ? 1 : 0;
   }
   return levels;
}

class PACKING_SEARCH {
public:
   PACKING_SEARCH(const NETLIST& netlist, const PARTITION& partition, const TARGET& target, PACKED_NETLIST& packed)
       : m_netlist(netlist), m_partition(partition), m_target(target), m_packed(packed) {}

   SEARCH_RESULT run() {
      decide_multipliers();
      decide_rams();
      for (const PATTERN pattern : {PATTERN::AT_PIN, PATTERN::BEHIND_MULTIPLIER, PATTERN::BEFORE_MULTIPLIER,
                                    PATTERN::BEHIND_LUT, PATTERN::LUT_BEHIND, PATTERN::CHAIN}) {
         decide_registers(pattern);
      }
      log_what_stays_apart();
      return std::move(m_result);
   }

private:
   std::vector<const ATOM*> members(ATOM_KIND kind) const {
      std::vector<const ATOM*> found;
      for (const auto& [name, atom] : m_netlist.atoms()) {
         if (atom.m_kind == kind && m_partition.contains(name)) {
            found.push_back(&atom);
         }
      }
      return found;
   }

   void decide_multipliers() {
      std::vector<const ATOM*> multipliers = members(ATOM_KIND::MULTIPLIER);
      std::stable_sort(multipliers.begin(), multipliers.end(), [](const ATOM* left, const ATOM* right) {
         return cost_in_logic(*left) > cost_in_logic(*right);
      });
      int blocks_left = m_target.m_multiplier_blocks;
      for (const ATOM* multiplier : multipliers) {
         ++m_result.m_examined;
         const bool gets_block = blocks_left-- > 0;
         const MULTIPLIER_DECISION decision{gets_block ? "BLOCK" : "LOGIC_CELLS", multiplier->m_name};
         m_packed.apply(decision);
         m_result.m_decisions.m_multipliers.push_back(decision);
      }
   }

   /// Pairs of small memories first, the closest relatives first among them.
   void decide_rams() {
      const std::vector<const ATOM*> rams = members(ATOM_KIND::RAM);
      std::vector<std::tuple<int, const ATOM*, const ATOM*>> pairs;
      for (std::size_t first = 0; first < rams.size(); ++first) {
         for (std::size_t second = first + 1; second < rams.size(); ++second) {
            pairs.emplace_back(-common_levels(rams[first]->m_name, rams[second]->m_name), rams[first],
                               rams[second]);
         }
      }
      std::stable_sort(pairs.begin(), pairs.end(),
                       [](const auto& left, const auto& right) { return std::get<0>(left) < std::get<0>(right); });
      std::set<const ATOM*> decided;
      for (const auto& [levels, first, second] : pairs) {
         ++m_result.m_examined;
         if (!decided.contains(first) && !decided.contains(second) && place_pair(*first, *second)) {
            decided.insert({first, second});
         }
      }
      for (const ATOM* ram : rams) {
         if (!decided.contains(ram)) {
            const bool is_small = ram_usage(*ram).m_depth * 2 <= RAM_WORDS;
            accept(ram_decision(*ram, "WHOLE", is_small ? "no memory is left to share with" : "needs all words"));
            ++m_next_block;
         }
      }
   }

   bool place_pair(const ATOM& first, const ATOM& second) {
      const RAM_DECISION lower = ram_decision(first, "LOWER", "shares with a neighbour of equal clocks");
      const RAM_DECISION upper = ram_decision(second, "UPPER", "shares with a neighbour of equal clocks");
      const bool fits = m_packed.obstacle(lower).empty() && m_packed.obstacle(upper).empty() &&
                        first.input_net(RAM_WRITE_CLOCK) == second.input_net(RAM_WRITE_CLOCK) &&
                        first.input_net(RAM_READ_CLOCK) == second.input_net(RAM_READ_CLOCK);
      if (fits) {
         accept(lower);
         accept(upper);
         ++m_next_block;
      }
      return fits;
   }

   RAM_DECISION ram_decision(const ATOM& ram, const std::string& half, const std::string& reason) const {
      const RAM_USAGE usage = ram_usage(ram);
      return {half != "WHOLE", m_next_block,  half,   usage.m_mode, usage.m_width,
              usage.m_depth,   usage.m_start, reason, ram.m_name};
   }

   void accept(const RAM_DECISION& decision) {
      m_packed.apply(decision);
      m_result.m_decisions.m_rams.push_back(decision);
   }

   /// Takes what can be packed in a pattern; where several registers want one partner, the one with the most
   /// connections to it.
   void decide_registers(PATTERN pattern) {
      std::vector<CANDIDATE> candidates;
      for (const ATOM* reg : members(ATOM_KIND::REGISTER)) {
         if (const ATOM* partner = find_partner(pattern, *reg);
             partner != nullptr && !m_packed_registers.contains(reg)) {
            candidates.push_back({pattern, reg, partner, shared_inputs(*reg, *partner)});
         }
      }
      std::stable_sort(candidates.begin(), candidates.end(), [](const CANDIDATE& left, const CANDIDATE& right) {
         return left.m_shared_inputs > right.m_shared_inputs;
      });
      for (const CANDIDATE& candidate : candidates) {
         consider(candidate);
      }
   }

   const ATOM* find_partner(PATTERN pattern, const ATOM& reg) const {
      switch (pattern) {
      case PATTERN::BEHIND_LUT:
         return data_driver(reg, ATOM_KIND::LUT);
      case PATTERN::CHAIN:
         return data_driver(reg, ATOM_KIND::REGISTER);
      case PATTERN::AT_PIN:
         return data_driver(reg, ATOM_KIND::INPUT_PIN);
      case PATTERN::BEHIND_MULTIPLIER:
         return data_driver(reg, ATOM_KIND::MULTIPLIER);
      case PATTERN::LUT_BEHIND:
         return first_reader(reg, ATOM_KIND::LUT);
      case PATTERN::BEFORE_MULTIPLIER:
         return first_reader(reg, ATOM_KIND::MULTIPLIER);
      }
      return nullptr;
   }

   const ATOM* data_driver(const ATOM& reg, ATOM_KIND kind) const {
      const NET* data = reg.input_net(REGISTER_DATA);
      return data == nullptr ? nullptr : member_of_kind(data->m_driver, kind);
   }

   const ATOM* first_reader(const ATOM& reg, ATOM_KIND kind) const {
      const ATOM* first = nullptr;
      for (const SINK& sink : reg.output_net()->m_sinks) {
         const ATOM* reader = member_of_kind(sink.m_atom, kind);
         if (reader != nullptr && (first == nullptr || reader->m_name < first->m_name)) {
            first = reader;
         }
      }
      return first;
   }

   /// A partner outside the partition cannot be packed with, nor may its name go into the partition's log.
   const ATOM* member_of_kind(const ATOM* atom, ATOM_KIND kind) const {
      const bool is_one = atom != nullptr && atom->m_kind == kind && m_partition.contains(atom->m_name);
      return is_one ? atom : nullptr;
   }

   static int shared_inputs(const ATOM& reg, const ATOM& partner) {
      const std::vector<SINK>& sinks = reg.output_net()->m_sinks;
      return static_cast<int>(
          std::count_if(sinks.begin(), sinks.end(), [&](const SINK& sink) { return sink.m_atom == &partner; }));
   }

   void consider(const CANDIDATE& candidate) {
      ++m_result.m_examined;
      REGISTER_DECISION decision{true, reason_to_pack(candidate.m_pattern), candidate.m_pattern,
                                 candidate.m_register->m_name, candidate.m_partner->m_name};
      const std::string obstacle = m_packed.obstacle(decision);
      if (obstacle.empty()) {
         m_packed.apply(decision);
         m_packed_registers.insert(candidate.m_register);
         m_result.m_decisions.m_registers.push_back(decision);
      } else {
         decision.m_packed = false;
         decision.m_reason = obstacle;
         m_refused.try_emplace(candidate.m_register, decision);
      }
   }

   static std::string reason_to_pack(PATTERN pattern) {
      switch (pattern) {
      case PATTERN::BEHIND_LUT:
         return "the register is the only reader of the LUT";
      case PATTERN::LUT_BEHIND:
         return "the LUT is the only reader of the register";
      case PATTERN::CHAIN:
         return "equal control signals";
      case PATTERN::AT_PIN:
         return "the register is the only reader of the pin";
      case PATTERN::BEHIND_MULTIPLIER:
         return "all result bits go into equal registers";
      case PATTERN::BEFORE_MULTIPLIER:
         return "all bits of the operand come from equal registers";
      }
      return "";
   }

   /// Registers that were refused everywhere: the first refusal tells most, as it was the best place.
   void log_what_stays_apart() {
      for (const auto& [reg, decision] : m_refused) {
         if (!m_packed_registers.contains(reg)) {
            m_result.m_decisions.m_registers.push_back(decision);
         }
      }
   }

   struct BY_NAME {
      bool operator()(const ATOM* left, const ATOM* right) const { return left->m_name < right->m_name; }
   };

   const NETLIST& m_netlist;
   const PARTITION& m_partition;
   const TARGET& m_target;
   PACKED_NETLIST& m_packed;
   SEARCH_RESULT m_result;
   std::set<const ATOM*> m_packed_registers;
   std::map<const ATOM*, REGISTER_DECISION, BY_NAME> m_refused;
   int m_next_block = 0;
};

} // namespace

SEARCH_RESULT search_packing(const NETLIST& netlist, const PARTITION& partition, const TARGET& target,
                             PACKED_NETLIST& packed) {
   return PACKING_SEARCH(netlist, partition, target, packed).run();
}
