"""Finds the places of a source file where a fault can be planted: walks the compiler's syntax tree.

The edits are exact ranges of the file's own text. Nothing is planted within a use of a macro: its
text may mean something else there than it seems. What contains such a use as a whole may be moved,
removed or negated.
"""

import bisect

from clang import cindex
from clang.cindex import CursorKind, TokenKind, TypeKind

import faults
from effects import (
    FUNCTIONS, are_independent, does_nothing, has_effect, without_wrapping)
from mutant import PLANTED, Edit, Guard

LITERALS = {
    CursorKind.INTEGER_LITERAL: faults.other_integer,
    CursorKind.STRING_LITERAL: faults.other_text,
    CursorKind.CHARACTER_LITERAL: faults.other_character,
    CursorKind.CXX_BOOL_LITERAL_EXPR: faults.other_boolean,
}
INTEGERS = {
    TypeKind.SHORT, TypeKind.USHORT, TypeKind.INT, TypeKind.UINT, TypeKind.LONG, TypeKind.ULONG,
    TypeKind.LONGLONG, TypeKind.ULONGLONG,
}
LEAVING = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
# What the compiler alone reads: a fault there does not compile, or changes nothing.
SKIPPED = {CursorKind.STATIC_ASSERT, CursorKind.ALIGNED_ATTR, CursorKind.UNEXPOSED_ATTR}


class ParseError(Exception):
    """The file cannot be read with the flags that it was given."""


def is_in_main_file(cursor):
    return bool(cindex.conf.lib.clang_Location_isFromMainFile(cursor.location))


class Walk:
    """Collects the edits of one file while it walks down the tree."""

    def __init__(self, unit, text):
        self.text = text
        self.edits = set()
        # Nearly all of the unit is the system's headers, so this question is asked once.
        self.own = [child for child in unit.cursor.get_children() if is_in_main_file(child)]
        self.tokens = [
            (token.extent.start.offset, token.extent.end.offset, token.spelling)
            for token in unit.get_tokens(extent=unit.cursor.extent)
            if token.kind != TokenKind.COMMENT]
        self.starts = [start for start, _, _ in self.tokens]
        self.macros = [
            (child.extent.start.offset, child.extent.end.offset)
            for child in self.own if child.kind == CursorKind.MACRO_INSTANTIATION]

    # Ranges and tokens.

    def tokens_in(self, start, end):
        first = bisect.bisect_left(self.starts, start)
        for token in self.tokens[first:]:
            if token[1] > end:
                return
            yield token

    def token_at(self, start):
        index = bisect.bisect_left(self.starts, start)
        if index < len(self.tokens) and self.starts[index] == start:
            return self.tokens[index]
        return None

    def token_from(self, start):
        """The first token that begins at or after `start`."""
        index = bisect.bisect_left(self.starts, start)
        return self.tokens[index] if index < len(self.tokens) else (start, start, "")

    def begins(self, cursor, keyword):
        """Whether a statement is the file's own: one of a macro begins with the macro's name."""
        return self.token_from(cursor.extent.start.offset)[2] == keyword

    def source(self, start, end):
        return self.text[start:end].decode()

    def may_change(self, start, end):
        """No macro's use begins or ends inside, and no directive of the preprocessor is inside."""
        for macro_start, macro_end in self.macros:
            apart = macro_end <= start or end <= macro_start
            if not apart and not (start <= macro_start and macro_end <= end):
                return False
        return all(token[2] != "#" for token in self.tokens_in(start, end))

    def add(self, kind, start, end, replacement, guard=None):
        if start < end and self.may_change(start, end):
            self.edits.add(Edit(start, end, replacement, kind, guard))

    def guard(self, start, end, before, behind):
        """None where the texts cannot be put into lines that stay as they are."""
        if start is None or "//" in before or not self.may_change(start, end):
            return None
        return Guard(start, end, " ".join(before.split("\n")), behind)

    def choice(self, expression, start, end, replacement):
        """Guards an expression, a range, that has another text in [start, end)."""
        first, last = expression
        if not first <= start < end <= last:
            return None
        other = self.source(first, start) + replacement + self.source(end, last)
        return self.guard(first, last, f"({PLANTED} ? ({other}) : (", "))")

    def parentheses_behind(self, start):
        """The range between the first "(" after `start` and the ")" that belongs to it."""
        depth, begin = 0, None
        first = bisect.bisect_left(self.starts, start)
        for token_start, token_end, spelling in self.tokens[first:]:
            if spelling == "(":
                depth += 1
                if depth == 1:
                    begin = token_end
            elif spelling == ")":
                depth -= 1
                if depth == 0:
                    return begin, token_start
        return None

    # The walk.

    def visit(self, cursor, result_type=None, is_function=False):
        """`result_type`: of the function around, None where that is unknown. `is_function`: the
        cursor's parent is a function."""
        if cursor.kind in SKIPPED:
            return
        if cursor.kind == CursorKind.CALL_EXPR and not has_effect(cursor) and does_nothing(cursor):
            return
        self.visit_one(cursor, result_type, is_function)
        is_function = cursor.kind in FUNCTIONS or cursor.kind == CursorKind.LAMBDA_EXPR
        if is_function:
            is_lambda = cursor.kind == CursorKind.LAMBDA_EXPR
            result_type = None if is_lambda else cursor.result_type
        for child in cursor.get_children():
            self.visit(child, result_type, is_function)

    def visit_one(self, cursor, result_type, is_function):
        kind = cursor.kind
        if kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            self.visit_operator(cursor, list(cursor.get_children()))
        elif kind == CursorKind.CALL_EXPR and cursor.spelling.startswith("operator"):
            self.visit_operator(cursor, list(cursor.get_arguments()))
        elif kind == CursorKind.UNARY_OPERATOR:
            self.visit_unary(cursor)
        elif kind in LITERALS:
            self.visit_literal(cursor, LITERALS[kind])
        elif kind == CursorKind.IF_STMT:
            self.visit_if(cursor)
        elif kind == CursorKind.WHILE_STMT and self.begins(cursor, "while"):
            self.add_conditions(self.parentheses_behind(cursor.extent.start.offset), loop=True)
        elif kind == CursorKind.DO_STMT and self.begins(cursor, "do"):
            last = list(cursor.get_children())[-1].extent
            self.add_conditions((last.start.offset, last.end.offset), loop=True)
        elif kind == CursorKind.FOR_STMT and self.begins(cursor, "for"):
            self.visit_for(cursor)
        elif kind == CursorKind.CONDITIONAL_OPERATOR:
            first = next(cursor.get_children()).extent
            if first.end.offset != cursor.extent.end.offset:
                self.add_conditions((first.start.offset, first.end.offset), loop=False)
        elif kind == CursorKind.COMPOUND_STMT:
            self.visit_statements(list(cursor.get_children()), is_function)
        elif kind == CursorKind.RETURN_STMT and self.begins(cursor, "return"):
            self.visit_return(cursor, result_type)

    def visit_operator(self, cursor, operands):
        if len(operands) != 2:
            return
        whole = cursor.extent.start.offset, cursor.extent.end.offset
        between = operands[0].extent.end.offset, operands[1].extent.start.offset
        for start, end, spelling in self.tokens_in(*between):
            for replacement in faults.OPERATORS.get(spelling, []):
                self.add("operator", start, end, replacement,
                         self.choice(whole, start, end, replacement))

    def visit_unary(self, cursor):
        extent = cursor.extent
        first = self.token_at(extent.start.offset)
        if not first:
            return
        whole = extent.start.offset, extent.end.offset
        start, end, spelling = first
        if spelling in faults.DROPPED_OPERATORS:
            # Negated twice, as both ends of a choice must have one type.
            self.add("operator", start, end, " " if spelling == "-" else "",
                     self.choice(whole, start, end, "!!" if spelling == "!" else " "))
            return
        for start, end, spelling in first, self.token_at(extent.end.offset - 2) or first:
            if spelling in ("++", "--"):
                other = faults.OPERATORS[spelling][0]
                self.add("operator", start, end, other, self.choice(whole, start, end, other))

    def visit_literal(self, cursor, other):
        token = self.token_at(cursor.extent.start.offset)
        if token:
            replacement = other(token[2])
            if replacement is not None:
                whole = token[0], cursor.extent.end.offset
                self.add("constant", token[0], token[1], replacement,
                         self.choice(whole, token[0], token[1], replacement))

    def add_conditions(self, condition, loop):
        """A condition is evaluated as before, but the outcome is always the same. Never always true
        in a loop: that only goes on for ever."""
        if condition and condition[0] < condition[1]:
            text = self.source(*condition)
            self.add("condition", *condition, f"(({text}) && false)",
                     self.guard(*condition, "((", f") && !{PLANTED})"))
            if not loop:
                self.add("condition", *condition, f"(({text}) || true)",
                         self.guard(*condition, "((", f") || {PLANTED})"))

    def visit_if(self, cursor):
        start = cursor.extent.start.offset
        if not self.begins(cursor, "if") or self.token_from(start + 2)[2] != "(":
            return  # a macro's, or `if constexpr`
        children = list(cursor.get_children())
        condition = self.parentheses_behind(start)
        declares = children[0].kind in (CursorKind.DECL_STMT, CursorKind.VAR_DECL)
        if condition and not declares:
            self.add_conditions(condition, loop=False)
        branches = [child for child in children if child.extent.start.offset > condition[1]]
        if len(branches) == 2:
            extent = branches[0].extent
            tail = self.token_from(extent.end.offset)
            if tail[2] == ";":  # `if (a) b; else c;`
                tail = self.token_from(tail[1])
            if tail[2] == "else":
                start, end = branches[1].extent.start.offset, branches[1].extent.end.offset
                self.add("dropped branch", tail[0], end, "else {}",
                         self.guard(start, end, f"if ({PLANTED}) {{}} else ", ""))

    def visit_for(self, cursor):
        head = self.parentheses_behind(cursor.extent.start.offset)
        if not head:
            return
        ends, depth = [], 0
        for start, _, spelling in self.tokens_in(*head):
            depth += spelling in ("(", "[", "{")
            depth -= spelling in (")", "]", "}")
            if spelling == ";" and depth == 0:
                ends.append(start)
        if len(ends) == 2:
            start = self.token_from(ends[0] + 1)[0]
            if start < ends[1]:
                self.add_conditions((start, ends[1]), loop=True)

    def statement(self, cursor):
        """The range of a statement with its semicolon, or None where it has none of its own."""
        end = cursor.extent.end.offset
        following = self.token_from(end)
        if following[2] != ";" or self.text[end:following[0]].strip():
            return None
        return cursor.extent.start.offset, following[1]

    def visit_statements(self, statements, is_function):
        previous = None  # (place, cursor)
        for cursor in statements:
            is_expression = cursor.kind.is_expression()
            place = self.statement(cursor) if is_expression or cursor.kind in LEAVING else None
            if place and is_expression and not has_effect(cursor):
                continue
            if place and is_expression:
                self.add("dropped statement", *place, ";", self.dropped(place))
                if previous and not are_independent(previous[1], cursor):
                    self.swap(previous[0], place)
            elif place and not is_function:  # no function can do without its last `return`
                self.add("dropped exit", *place, ";", self.dropped(place))
            previous = (place, cursor) if place and is_expression else None

    def dropped(self, place):
        return self.guard(*place, f"if (!{PLANTED}) {{ ", " }")

    def swap(self, first, second):
        one, between, two = (self.source(*first), self.source(first[1], second[0]),
                             self.source(*second))
        if one != two and self.may_change(*first) and self.may_change(*second):
            other = two + between + one
            self.add("swapped statements", first[0], second[1], other, self.guard(
                first[0], second[1], f"if ({PLANTED}) {{ {other} }} else {{ ", " }"))

    def visit_return(self, cursor, result_type):
        children = list(cursor.get_children())
        if not children or result_type is None:
            return
        extent = children[0].extent
        start, end = extent.start.offset, extent.end.offset
        text = self.source(start, end)
        kind = result_type.get_canonical().kind
        if result_type.spelling == "HRESULT":
            other = "E_FAIL" if text == "S_OK" else "S_OK"
        elif kind == TypeKind.BOOL and not self.has_own_negation(children[0]):
            other = f"!({text})"
        elif kind == TypeKind.POINTER and text != "nullptr":
            other = "nullptr"
        elif kind in INTEGERS and not faults.INTEGER.match(text):
            other = "0"
        else:
            return
        self.add("result", start, end, other, self.choice((start, end), start, end, other))


    def has_own_negation(self, expression):
        """Whether another fault negates an expression already."""
        expression = without_wrapping(expression)
        children = list(expression.get_children())
        if expression.kind == CursorKind.UNARY_OPERATOR:
            return self.token_from(expression.extent.start.offset)[2] == "!"
        if expression.kind == CursorKind.BINARY_OPERATOR:
            return self.token_from(children[0].extent.end.offset)[2] in ("==", "!=")
        return expression.kind == CursorKind.CXX_BOOL_LITERAL_EXPR


def find_edits(path, flags, text=None):
    """All edits of a file: an absolute path, the compiler's flags for it, and its text when that is
    not to be read from the file."""
    options = cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD
    unsaved = [(path, text.decode())] if text is not None else None
    if text is None:
        with open(path, "rb") as file:
            text = file.read()
    unit = cindex.Index.create().parse(path, args=flags, unsaved_files=unsaved, options=options)
    errors = [str(item) for item in unit.diagnostics
              if item.severity >= cindex.Diagnostic.Error]
    if errors:
        raise ParseError(f"{path}: {errors[0]}")
    walk = Walk(unit, text)
    for cursor in walk.own:
        if not cursor.kind.is_preprocessing():
            walk.visit(cursor)
    return walk.edits
