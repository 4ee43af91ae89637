"""Which faults are found in small pieces of code."""

import unittest

import syntax

FLAGS = ["-x", "c++", "-std=c++20", "--target=x86_64-w64-mingw32", "-nostdinc"]
PLAIN = "void f(int a, int b) {{ {} }}"
RETURNS = "{} f(int& a) {{{{ return {{}}; }}}}"
CLASS = ("enum {{ N = sizeof(long) }}; struct Text {{ void operator=(int); }}; namespace std {{ struct atomic : Text {{ "
         "using Text::operator=; }}; }} struct S {{ int Get() const; int Set(); void Empty(int) {{}} "
         "void f() {{ {} }} int m, n, row[N]; struct {{ int a, b; }} inner; Text text; "
         "std::atomic flag; }};")
COM = ("typedef long HRESULT;\n#define S_OK 0L\n#define E_FAIL 1L\n"
       "HRESULT f(int a) {{ return {}; }}")

# Kind of fault, the code around, the code, and what may come of it.
ROWS = [
    ("operator", PLAIN, "a = a + b;", "a = a - b;"),
    ("operator", PLAIN, "a |= b;", "a &= b;"),
    ("operator", PLAIN, "a = a < b;", "a = a <= b;"),
    ("operator", PLAIN, "a = !b;", "a = b;"),
    ("operator", PLAIN, "++a;", "--a;"),
    ("operator", PLAIN, "a++;", "a--;"),
    ("operator", "struct S {{}}; bool operator==(S, S); bool f(S s) {{ return {}; }}",
     "s == s", "s != s"),
    ("operator", "void f(int& a, int* b) {{ {} }}", "*b = a; g: a = *&a;"),
    ("condition", PLAIN, "if (a) {}", "if (((a) && false)) {}", "if (((a) || true)) {}"),
    # Loops never go on for ever; what declares cannot be wrapped.
    ("condition", PLAIN, "while (a) {}", "while (((a) && false)) {}"),
    ("condition", PLAIN, "for (; a;) {}", "for (; ((a) && false);) {}"),
    ("condition", PLAIN, "do {} while (a);", "do {} while (((a) && false));"),
    ("condition", PLAIN, "if (int c = a) {}"),
    ("condition", PLAIN, "if (int c = a; c) {}"),
    ("condition", PLAIN, "if constexpr (true) {}"),
    ("dropped branch", PLAIN, "if (a) {} else { a = b; }", "if (a) {} else {}"),
    ("dropped branch", PLAIN, "if (a) b = a; else a = b;", "if (a) b = a; else {};"),
    ("dropped statement", PLAIN, "f(a, b); int c = a;", "; int c = a;"),
    ("swapped statements", PLAIN, "f(a, b); a = b;", "a = b; f(a, b);"),
    ("swapped statements", PLAIN, "f(a, b); f(a, b);"),
    ("swapped statements", PLAIN, "f(a, b); int c = a; a = b;"),
    ("swapped statements", PLAIN, "f(a, b);\n#ifdef X\n#endif\n(void)a;"),
    # What changes nothing in whatever order, or has no effect at all.
    ("swapped statements", PLAIN, "a = 1; b = 2;"),
    ("swapped statements", PLAIN, "a = 1; b = a;", "b = a; a = 1;"),
    ("swapped statements", PLAIN, "a = b; b = 1;", "b = 1; a = b;"),
    ("swapped statements", PLAIN, "a = 1; a = 2;", "a = 2; a = 1;"),
    ("swapped statements", "void f(int* a, int* b) {{ {} }}", "*a = 1; *b = 2;",
     "*b = 2; *a = 1;"),
    ("swapped statements", CLASS, "m = 1; n = 2;"),
    ("swapped statements", CLASS, "m = Get(); n = 2;"),
    ("swapped statements", CLASS, "m = Set(); n = 2;", "n = 2; m = Set();"),
    ("swapped statements", CLASS, "inner.a = 1; inner.b = 2;"),
    ("swapped statements", CLASS, "row[0] = 1; row[1] = 2;"),
    ("swapped statements", CLASS, "row[m] = 1; row[n] = 2;", "row[n] = 2; row[m] = 1;"),
    ("swapped statements", CLASS, "text = 1; m = 2;"),
    ("swapped statements", CLASS, "flag = 1; m = 2;", "m = 2; flag = 1;"),
    ("dropped statement", CLASS, "Empty(m); (void)0; Get();"),
    ("dropped statement", CLASS, "Empty(Set());", ";"),
    ("constant", CLASS, "Empty(2);"),
    ("dropped exit", PLAIN, "if (a) { return; } a = b;", "if (a) { ; } a = b;"),
    ("dropped exit", PLAIN, "while (a) { if (b) { break; } }", "while (a) { if (b) { ; } }"),
    ("dropped exit", PLAIN, "return;"),
    ("constant", "const wchar_t* t = {};", 'L"ä"', 'L"xä"'),
    ("constant", "char c = {};", "'a'", "'b'"),
    ("constant", "bool b = {};", "true", "false"),
    ("constant", "template <class T> struct S {{ int m = {}; }};", "1", "0"),
    ("result", RETURNS.format("bool"), "a", "!(a)"),
    ("result", RETURNS.format("bool"), "a < 1", "!(a < 1)"),
    ("result", RETURNS.format("bool"), "!a"),
    ("result", RETURNS.format("bool"), "a == 1"),
    ("result", RETURNS.format("bool"), "true"),
    ("result", RETURNS.format("int"), "a", "0"),
    ("result", RETURNS.format("int"), "3"),
    ("result", RETURNS.format("int*"), "&a", "nullptr"),
    ("result", RETURNS.format("int*"), "nullptr"),
    ("result", COM, "S_OK", "E_FAIL"),
    ("result", COM, "E_FAIL", "S_OK"),
    ("result", COM, "f(a)", "S_OK"),
    ("result", "bool f(int a) {{ {} return true; }}", "auto g = [&] { return a; };"),
]


def results(code):
    """Maps each kind of fault to the texts that come of `code`."""
    found = {}
    for edit in syntax.find_edits("/none/a.cpp", FLAGS, code.encode()):
        found.setdefault(edit.kind, set()).add(edit.apply(code.encode()).decode())
    return found


class SyntaxTest(unittest.TestCase):
    def test_faults_of_each_kind(self):
        for kind, around, before, *after in ROWS:
            with self.subTest(kind=kind, before=before):
                self.assertEqual(results(around.format(before)).get(kind, set()),
                                 {around.format(item) for item in after})

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
        self.assertEqual(results("static_assert(sizeof(int) == 4);"), {})

    def test_what_does_not_parse_is_an_error(self):
        with self.assertRaisesRegex(syntax.ParseError, "unknown type name"):
            results("Missing f();")


if __name__ == "__main__":
    unittest.main()
