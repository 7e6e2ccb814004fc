#include "rules.h"

#include <algorithm>

const std::vector<RULE>& rules() {
   static const std::vector<RULE> table = {
       {1, SEVERITY::ERROR, "the first line is no version line",
        "The first line of a database is taken for its version line whatever it says. An entry that stands there "
        "is"
        " lost.",
        "Put a line 'v1' in front of an entry; put it in the place of anything else."},
       {2, SEVERITY::ERROR, "the file has no line end",
        "A database without any line feed is read as an empty one, without a complaint. A process that was killed"
        " while it wrote leaves such a file.",
        "Make the file again, or delete it if it is empty."},
       {3, SEVERITY::ERROR, "the last line has no line end",
        "An entry counts only with its line feed: nobody can tell a whole line from one that was cut. Reading "
        "fails"
        " here, and the entries in front of it are kept.",
        "'logdb salvage' keeps the whole entries; write the last one again."},
       {4, SEVERITY::ERROR, "the line is too long",
        "A line of more than 32767 bytes is written but never read: reading fails here, and all entries behind it "
        "are"
        " lost.",
        "Shorten the fields; 'logdb salvage' keeps the other entries."},
       {5, SEVERITY::ERROR, "unknown kind",
        "The entry is read with its fields, but its kind's name is lost: written again, the name is empty. A tool "
        "of"
        " another version may know it.",
        "Correct the name; 'logdb kinds' lists those that are known."},
       {6, SEVERITY::WARNING, "the kind's name is spelled differently",
        "Other cases of letters and the names that people see are read as well, but written as the name in "
        "capitals.",
        "Write the name as 'logdb kinds' does."},
       {7, SEVERITY::ERROR, "the line has no kind",
        "An empty line is read as an entry of kind DSP_BALANCING_IMPLEMENTATION without fields, because no line is"
        " ever skipped.",
        "Delete the line."},
       {8, SEVERITY::ERROR, "zero byte",
        "The text of a line ends at its first zero byte; all fields behind it are lost.", "Remove the zero byte."},
       {9, SEVERITY::ERROR, "carriage return at the end of the line",
        "Lines end in a line feed alone. In a file that was written with CR LF, every entry gets a field more that"
        " holds a CR.",
        "Convert the line ends, for example with 'tr -d \"\\r\"'."},
       {10, SEVERITY::WARNING, "the last comma is missing",
        "A comma ends a field, the last one too. The entry is read all the same; a line that was cut and got a "
        "line"
        " feed later looks the same.",
        "See whether the last field is whole, and put a comma behind it."},
       {11, SEVERITY::WARNING, "more fields than the kind has",
        "Fields with a comma in them come back as several, and the format cannot tell. Fields behind it are at "
        "other"
        " positions, and node names may be taken for others.",
        "See whether a field held a comma; write such fields without one."},
       {12, SEVERITY::WARNING, "fewer fields than the kind has",
        "A node name that is outside the partition is left out without a gap when a database is written relative "
        "to"
        " one, and fields behind it move up. Or the line was cut.",
        "Write the entry again, from the database with full names."},
       {13, SEVERITY::WARNING, "empty node name",
        "An empty name is the name of no node. It reads back as it is, but relative to a partition it is left out "
        "when it is written, and becomes the root and a bar when it is read.",
        "Put the name in, or remove the entry, if the file is to be used for a partition."},
       {14, SEVERITY::ERROR, "node outside the partition",
        "Written relative to the partition root, this name is left out of its line, and the fields behind it move "
        "up.",
        "Write the entry to the file of another partition; 'logdb split --by partition' sorts them."},
       {15, SEVERITY::ERROR, "node beside the partition",
        "The name begins with the root, but goes on without a bar. It is taken for a node of the partition and "
        "comes"
        " back with a bar in it, as another name.",
        "Give instances names of which none begins with another's."},
       {16, SEVERITY::ERROR, "bar too many behind the root",
        "The root ends in a bar. It is put in front of names with a bar of its own, so that they come back with "
        "two.",
        "Give the root without a bar at its end."},
       {17, SEVERITY::ERROR, "no node below the root",
        "With an empty root, a name loses its bar in front when it is written and gets one when it is read.",
        "Use a root, or write the database without a partition."},
       {101, SEVERITY::ERROR, "unknown word in place of a keyword",
        "Where a record should begin stands a word that is no keyword. Each such word is reported and skipped on "
        "its"
        " own; what was meant by it is lost. Mostly the record in front is out of step.",
        "Look at the record in front of it; 'logdb salvage' drops both."},
       {102, SEVERITY::ERROR, "another revision of the log",
        "Revision keywords are compared as a whole. One of another version is an unknown word.",
        "Read the log with the version that wrote it."},
       {103, SEVERITY::ERROR, "more words on the line than the record has fields",
        "The reader splits at white space. A name with a blank in it comes back as its first part; the rest is "
        "taken"
        " for the next fields.",
        "Write names without white space."},
       {104, SEVERITY::ERROR, "fewer words on the line than the record has fields",
        "White space is skipped, so an empty name is not seen: the next word is taken for it, and the record is "
        "out of"
        " step from there on.",
        "Write a name that is not empty."},
       {105, SEVERITY::ERROR, "the record is cut by another one",
        "A keyword stands where a field is expected. The reader takes it for the field, and the record that begins"
        " there is lost. A log that was cut and appended to looks so.",
        "'logdb salvage' drops what was cut and keeps the record behind it."},
       {106, SEVERITY::ERROR, "the log ends inside a record",
        "Missing names are read as LOGDB_FSYN_EOF and missing numbers as 0, so the last record is not what it "
        "was.",
        "Leave the last record out; 'logdb salvage' does."},
       {107, SEVERITY::ERROR, "the log ends inside a list",
        "The list ends with its last whole element, and nothing tells how many are missing.",
        "Leave the last record out; 'logdb salvage' does."},
       {108, SEVERITY::ERROR, "no number where one should be",
        "What is no number is read as 0, or as far as it is one, without a complaint.",
        "Look whether the record is out of step, because of a blank or an empty name in front."},
       {109, SEVERITY::ERROR, "the number does not fit",
        "A number is stored in 32 bits, an index in 16; what is above is lost.", "Write a number that fits."},
       {110, SEVERITY::WARNING, "the flag is neither 0 nor 1",
        "A flag reads back as 1 whatever it was, if it was not 0.", "Write 0 or 1."},
       {111, SEVERITY::ERROR, "unknown mode of a LUT mask",
        "Anything but NORMAL, SUM and CARRY is reported and read as NORMAL.", "Write one of the three."},
       {112, SEVERITY::ERROR, "half of a mask with more than eight digits",
        "The low half is not cut to 32 bits: its upper digits run into the high half.",
        "Write each half with at most eight digits."},
       {113, SEVERITY::WARNING, "the delay chain is not the one from the pad to the core",
        "Only the type 8 is ever meant. The writer reports any other, behind the record.",
        "Look who wrote it; the reader takes any."},
       {114, SEVERITY::ERROR, "the slot is outside the cell",
        "An index that the cell does not have is ignored with its name.",
        "Write an index below 11 (LCELL_COMB), 9 (LCELL_FF) or 16 (IO)."},
       {115, SEVERITY::WARNING, "the slot is given twice", "The last name counts.", "Write each slot once."},
       {116, SEVERITY::WARNING, "the slot is named UNCHANGED",
        "UNCHANGED is the word for an input that keeps its connection; written again, the line vanishes.",
        "Leave the line out, or rename the net."},
       {117, SEVERITY::ERROR, "LOGDB_FSYN_EOF in place of a keyword",
        "Where a record should begin, this word stands for the end of the file: programs read no further.",
        "Remove the word."},
       {118, SEVERITY::WARNING, "a name is spelled LOGDB_FSYN_EOF",
        "This is what missing names of a log that was cut are read as. A copy of such a log has it spelled out.",
        "Look where the log was cut, and leave the record out."},
       {119, SEVERITY::ERROR, "zero byte",
        "The first zero byte ends the log; nothing behind it is read. A disk that lost power leaves such tails.",
        "'logdb salvage' keeps what is in front of it."},
       {120, SEVERITY::ERROR, "the word is too long", "Of a word of more than 4096 bytes the rest is skipped.",
        "Use shorter names."},
       {121, SEVERITY::WARNING, "the line has 4095 bytes or more",
        "The writer cuts lines to 4095 bytes without a report. A line of this length was probably cut, and longer "
        "ones"
        " it never writes.",
        "Use shorter names."},
       {122, SEVERITY::WARNING, "records behind the end of the log",
        "Programs that replay a log stop at END_OF_LOG, although the reader goes on.",
        "Remove the end in the middle; 'logdb merge' does."},
       {123, SEVERITY::WARNING, "no LUTMASK behind the ports",
        "The word behind the port groups is passed over whatever it is. Ports behind outputs are taken for it and "
        "for"
        " the mask.",
        "Write inputs in front of outputs, and LUTMASK behind them."},
       {124, SEVERITY::ERROR, "the record has no name",
        "The process that writes a SET_INSTANCE_NAME record stops in the middle of it, so no log holds the name. "
        "What"
        " follows is taken for it.",
        "Leave the record out; 'logdb salvage' does."},
       {125, SEVERITY::ERROR, "the last line has no line end",
        "The last word may have been cut. What is appended is joined to it and becomes one word with it.",
        "'logdb salvage' leaves the last record out."},
       {126, SEVERITY::ERROR, "keyword at the end of a word",
        "Two runs wrote to the log, and the first one was cut inside a line: its last word and the keyword behind "
        "it"
        " are one word.",
        "'logdb salvage' drops the record in front."},
       {127, SEVERITY::WARNING, "lines are not as they are written",
        "Line ends mean nothing to the reader, so the log reads well; but nobody finds the records with a text "
        "tool.",
        "'logdb convert' to JSON and back writes the lines anew."},
       {128, SEVERITY::WARNING, "the log has no end",
        "By custom the last record is END_OF_LOG. Without it nobody can tell whether records are missing.",
        "Leave the last record out when you replay it, or find out how the run ended."},
   };
   return table;
}

const RULE* find_rule(int number) {
   const auto found = std::lower_bound(rules().begin(), rules().end(), number,
                                       [](const RULE& rule, int wanted) { return rule.m_number < wanted; });
   return found == rules().end() || found->m_number != number ? nullptr : &*found;
}

std::string rule_name(int number) {
   const std::string digits = std::to_string(number);
   return "LDB" + std::string(3 - digits.size(), '0') + digits;
}
