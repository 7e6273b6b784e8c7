"""What the rules of ./dev mutate make of small sources."""
import unittest

from rules import find_mutants


def changes(text, *rules, is_table=False):
    return [(mutant.before, mutant.after) for mutant in find_mutants(text, is_table)
            if mutant.rule in rules]


class Rules(unittest.TestCase):
    def test_a_comparison_takes_or_loses_its_equality(self):
        self.assertEqual(changes("a = b < c; d = e == f;", "comparison"),
                         [("a = b < c; d = e == f;", after) for after in (
                             "a = b <= c; d = e == f;", "a = b < c; d = e != f;")])

    def test_brackets_of_templates_and_arrows_are_no_comparisons(self):
        self.assertEqual(changes("std::vector<int> a;\ntemplate <typename T>\np->q >> r;",
                                 "comparison"), [])

    def test_references_are_not_logic(self):
        self.assertEqual(changes("auto&& a = b && c;", "logic"),
                         [("auto&& a = b && c;", "auto&& a = b || c;")])

    def test_a_number_grows_in_its_last_digit(self):
        self.assertEqual(changes("f(29, 1.0099, 1'000, 0x1F, 2U);", "constant"),
                         [("f(29, 1.0099, 1'000, 0x1F, 2U);", after) for after in (
                             "f(30, 1.0099, 1'000, 0x1F, 2U);", "f(29, 1.0100, 1'000, 0x1F, 2U);",
                             "f(29, 1.0099, 1001, 0x1F, 2U);", "f(29, 1.0099, 1'000, 0x20, 2U);",
                             "f(29, 1.0099, 1'000, 0x1F, 3U);")])

    def test_a_function_without_a_definition_stays_one(self):
        self.assertEqual(changes("virtual void F() = 0;\nint x() const = 0;", "constant"), [])

    def test_a_character_becomes_another(self):
        self.assertEqual(changes("c == 'a' || c == '\\'';", "constant"),
                         [("c == 'a' || c == '\\'';", "c == 'b' || c == '\\'';"),
                          ("c == 'a' || c == '\\'';", "c == 'a' || c == '#';")])

    def test_a_text_loses_a_letter_and_an_escape_stays_whole(self):
        self.assertEqual(changes('f("\\n", "a\\\\", "");', "text"),
                         [('f("\\n", "a\\\\", "");', 'f("", "a\\\\", "");'),
                          ('f("\\n", "a\\\\", "");', 'f("\\n", "\\\\", "");')])

    def test_a_text_without_letters_loses_another_character_before_a_blank(self):
        self.assertEqual(changes('f(", ", " ");', "text"),
                         [('f(", ", " ");', 'f(" ", " ");'), ('f(", ", " ");', 'f(", ", "");')])

    def test_comments_directives_and_assertions_of_the_compiler_are_left_alone(self):
        self.assertEqual(find_mutants('#include "a.h"\n#define A 1 \\\n  2\n// 1 < 2\n'
                                      'static_assert(A < 3, "no");\n'), [])

    def test_guards_are_negated(self):
        self.assertEqual(
            changes("void F() {\n    if (a && b) {\n    }\n    while (!c) {\n    }\n"
                    "    for (; d; e()) {\n    }\n    f = g ? 1 : 2;\n}", "negation"),
            [("if (a && b) {", "if (!(a && b)) {"), ("while (!c) {", "while (!(!c)) {"),
             ("for (; d; e()) {", "for (; !(d); e()) {"),
             ("f = g ? 1 : 2;", "f = !(g) ? 1 : 2;")])

    def test_a_guard_that_declares_is_negated_behind_its_declaration(self):
        self.assertEqual(changes("if (const auto* a = B()) {\nif (int c = D(); c > 0) {", "negation"),
                         [("if (const auto* a = B()) {", "if (const auto* a = B(); !(a)) {"),
                          ("if (int c = D(); c > 0) {", "if (int c = D(); !(c > 0)) {")])

    def test_statements_are_left_out_but_declarations_are_not(self):
        self.assertEqual(
            changes("int F() {\n    const int a = 1;\n    std::string b(c);\n    if (a) {\n"
                    "        G();\n    } else {\n        H();\n    }\n    return a;\n}", "drop"),
            [("if (a) { G(); } else { H(); }", ""), ("G();", ""), ("H();", ""), ("return a;", "")])

    def test_neighbours_change_places_unless_one_needs_the_other_or_leaves(self):
        self.assertEqual(
            changes("void F() {\n    A();\n    const auto b = B();\n    C(b);\n    D();\n    return;\n}",
                    "swap"),
            [("A(); const auto b = B();", "const auto b = B(); A();"), ("C(b); D();", "D(); C(b);")])

    def test_a_declaration_with_a_fixed_value_does_not_change_places(self):
        self.assertEqual(changes("void F() {\n    A();\n    std::int64_t b = 0;\n    C();\n"
                                 "    std::string d;\n    a = 1;\n    b = 2;\n}", "swap"),
                         [("a = 1; b = 2;", "b = 2; a = 1;")])

    def test_lists_of_values_are_no_statements(self):
        self.assertEqual(changes("constexpr int a[]{1, 2};\nstruct B {\n    int c;\n};",
                                 "drop", "swap"), [])

    def test_the_statements_of_a_lambda_count(self):
        self.assertEqual(changes("auto a = [&](int b) -> std::vector<int> { C(b); };", "drop"),
                         [("C(b);", "")])

    def test_the_lines_of_a_table_are_left_out_and_swapped(self):
        self.assertEqual(changes("#define A(x)\nA(b)\nA(c)\n", "drop", "swap", is_table=True),
                         [("A(b)", ""), ("A(b) A(c)", "A(c) A(b)"), ("A(c)", "")])

    def test_a_mutant_changes_its_place_and_nothing_else(self):
        text = 'void F() {\n    if (a < 1) {\n        B("c");\n        D(true);\n    }\n}\n'
        mutated = [mutant.apply(text) for mutant in find_mutants(text)]
        self.assertIn('void F() {\n    if (a < 1) {\n        D(true);\n        B("c");\n    }\n}\n',
                      mutated)
        self.assertIn('void F() {\n    ;\n}\n', mutated)
        self.assertEqual(len(set(mutated)), 9)
        self.assertNotIn(text, mutated)


if __name__ == "__main__":
    unittest.main()
