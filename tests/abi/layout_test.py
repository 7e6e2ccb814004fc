#!/usr/bin/env python3
"""The layout list leaves nothing out: what the script cannot tell is an error, and a change is a difference."""

import pathlib
import tempfile
import unittest

import layout


class LayoutTest(unittest.TestCase):
    def test_members_are_found_in_every_form(self):
        text = """
            /// Words; and a brace {
            class LOGDB_EXPORT A : public B {
            public:
               A() = default;
               int operation(int m_argument) const { return m_one; }
               LOGDB_EXPORT static const char* const m_shared[2];
               static int s_other();
               int m_one = 0; ///< m_comment;
               [[maybe_unused]] MEM_VECTOR<MEM_STRING> m_two;
               const char* m_three[4];
               MEM_STRING
               m_four;
               friend class C;
            private:
               unsigned long m_five = f(1, 2);
            };"""
        self.assertEqual(layout.declarations_of(text)[0], [("A", ["m_one", "m_two", "m_three", "m_four", "m_five"])])

    def test_enumerators_and_variables_are_found(self):
        classes, enumerations, variables = layout.declarations_of(
            "enum E : int { ONE = 1, TWO };\nenum NONE : int {};\nextern LOGDB_EXPORT const X NAME[2];\nextern int other;")
        self.assertEqual(classes, [])
        self.assertEqual(enumerations, [("E", ["ONE", "TWO"]), ("NONE", [])])
        self.assertEqual(variables, ["NAME", "other"])

    def test_what_cannot_be_told_is_an_error(self):
        with self.assertRaises(ValueError):
            layout.declarations_of("struct A { int strange_name; };")
        with self.assertRaises(ValueError):
            layout.declarations_of("struct A { int m_one; int m_two, m_three; };")

    def test_a_change_is_a_difference(self):
        with tempfile.TemporaryDirectory() as folder:
            one, two = pathlib.Path(folder) / "one", pathlib.Path(folder) / "two"
            one.write_text("A: size 8, alignment 8\n", encoding="utf-8")
            two.write_text("A: size 8, alignment 8\n", encoding="utf-8")
            self.assertEqual(layout.check(one, two), 0)
            two.write_text("A: size 16, alignment 8\n", encoding="utf-8")
            self.assertEqual(layout.check(one, two), 1)


if __name__ == "__main__":
    unittest.main()
