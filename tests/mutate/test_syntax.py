"""Which faults are found in small pieces of code."""

import unittest

import syntax

FLAGS = ["-x", "c++", "-std=c++20", "--target=x86_64-w64-mingw32", "-nostdinc"]


def results(code, kind=None):
    """Maps each kind of fault to the texts that come of `code`."""
    found = {}
    for edit in syntax.find_edits("/none/a.cpp", FLAGS, code.encode()):
        found.setdefault(edit.kind, set()).add(edit.apply(code.encode()).decode())
    return found.get(kind, set()) if kind else found


class SyntaxTest(unittest.TestCase):
    def check(self, kind, before, *after, around="void f(int a, int b) {{ {} }}"):
        with self.subTest(before=before):
            self.assertEqual(results(around.format(before), kind),
                             {around.format(item) for item in after})

    def test_binary_operators(self):
        self.check("operator", "a = a + b;", "a = a - b;")
        self.check("operator", "a |= b;", "a &= b;")
        self.check("operator", "a = a < b;", "a = a <= b;")

    def test_unary_operators(self):
        self.check("operator", "a = !b;", "a = b;")
        self.check("operator", "++a;", "--a;")
        self.check("operator", "a++;", "a--;")

    def test_overloaded_operators(self):
        code = "struct S {}; bool operator==(S, S); bool f(S s) { return s == s; }"
        self.assertEqual(results(code, "operator"), {code.replace("s == s", "s != s")})

    def test_signs_of_references_and_pointers_are_no_operators(self):
        self.assertEqual(results("void f(int& a, int* b) { *b = a; g: a = *&a; }", "operator"),
                         set())

    def test_conditions_are_evaluated_still(self):
        self.check("condition", "if (a) {}", "if (((a) && false)) {}",
                   "if (((a) || true)) {}")

    def test_loops_never_go_on_for_ever(self):
        self.check("condition", "while (a) {}", "while (((a) && false)) {}")
        self.check("condition", "for (; a;) {}", "for (; ((a) && false);) {}")
        self.check("condition", "do {} while (a);", "do {} while (((a) && false));")

    def test_conditions_with_declarations_stay(self):
        self.check("condition", "if (int c = a) {}")
        self.check("condition", "if (int c = a; c) {}")
        self.check("condition", "if constexpr (true) {}")

    def test_else_branches(self):
        self.check("dropped branch", "if (a) {} else { a = b; }", "if (a) {} else {}")
        self.check("dropped branch", "if (a) b = a; else a = b;", "if (a) b = a; else {};")

    def test_statements(self):
        self.check("dropped statement", "f(a, b); int c = a;", "; int c = a;")
        self.check("swapped statements", "f(a, b); a = b;", "a = b; f(a, b);")
        self.check("swapped statements", "f(a, b); f(a, b);")
        self.check("swapped statements", "f(a, b); int c = a; a = b;")

    def test_exits(self):
        self.check("dropped exit", "if (a) { return; } a = b;", "if (a) { ; } a = b;")
        self.check("dropped exit", "while (a) { if (b) { break; } }", "while (a) { if (b) { ; } }")
        self.check("dropped exit", "return;")

    def test_constants(self):
        code = 'const wchar_t* t = L"a"; char c = \'a\'; bool b = true; int i = 1;'
        self.assertEqual(results(code, "constant"), {
            code.replace('L"a"', 'L"xa"'), code.replace("'a'", "'b'"),
            code.replace("true", "false"), code.replace("= 1", "= 0")})

    def test_results(self):
        for declaration, expression, expected in [
                ("bool", "a", "!(a)"), ("bool", "true", None),
                ("bool", "!a", None), ("bool", "a == 1", None), ("bool", "a < 1", "!(a < 1)"),
                ("int", "a", "0"), ("int", "3", None),
                ("int*", "&a", "nullptr"), ("int*", "nullptr", None)]:
            around = declaration + " f(int& a) {{ return {}; }}"
            self.check("result", expression, *([expected] if expected else []), around=around)

    def test_results_of_com_methods(self):
        around = ("typedef long HRESULT;\n#define S_OK 0L\n#define E_FAIL 1L\n"
                  "HRESULT f(int a) {{ return {}; }}")
        self.check("result", "S_OK", "E_FAIL", around=around)
        self.check("result", "E_FAIL", "S_OK", around=around)
        self.check("result", "f(a)", "S_OK", around=around)

    def test_a_lambda_returns_for_itself(self):
        self.check("result", "auto g = [&] { return a; };",
                   around="bool f(int a) {{ {} return true; }}")

    def test_uses_of_macros_stay_or_move_as_a_whole(self):
        code = "#define CHECK(x) if (!(x)) return\nvoid f(int a) { CHECK(a < 1); a = 2; }"
        self.assertEqual(results(code), {
            "constant": {code.replace("2", "3")},
            "dropped statement": {code.replace("a = 2;", ";")}})
        for macro in ("while (x) {}", "for (; x;) {}", "do {} while (x)", "if (x) {}"):
            self.assertEqual(results(f"#define M(x) {macro}\nvoid f(int a) {{ M(a < 1); }}"), {})
        self.assertEqual(results("#define M(x) x ? 1 : 2\nint i = M(true);"), {})
        self.assertEqual(results("#define M(x) return x\nint f(int a) { M(a); }"), {})
        code = "#define ONE 1\nvoid f(int a) { f(ONE); }"
        self.assertEqual(results(code), {"dropped statement": {code.replace("f(ONE);", ";")}})

    def test_directives_stay_where_they_are(self):
        code = "void f() {\n  f();\n#ifdef X\n#endif\n  (void)f;\n}\n"
        self.assertEqual(results(code, "swapped statements"), set())

    def test_places_are_bytes(self):
        code = 'const char* t = "ä"; int i = 1;'
        self.assertIn(code.replace("1", "0"), results(code, "constant"))

    def test_templates_and_members_are_read_too(self):
        code = "template <class T> struct S { int m = 1; bool f(T t) { return t == m; } };"
        found = results(code)
        self.assertEqual(found["constant"], {code.replace("1", "0")})
        self.assertIn(code.replace("==", "!="), found["operator"])

    def test_static_assertions_are_the_compilers(self):
        self.assertEqual(results("static_assert(sizeof(int) == 4);"), {})

    def test_what_does_not_parse_is_an_error(self):
        with self.assertRaisesRegex(syntax.ParseError, "unknown type name"):
            results("Missing f();")


if __name__ == "__main__":
    unittest.main()
