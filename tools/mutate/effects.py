"""What expressions of the syntax tree change, as far as the tree tells."""

from clang.cindex import CursorKind

FUNCTIONS = {
    CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
    CursorKind.DESTRUCTOR, CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE,
}
# Of methods that are not constant, those that change nothing all the same.
ACCESSORS = {"data", "begin", "end"}
CALLABLE = {CursorKind.CXX_METHOD, CursorKind.CONVERSION_FUNCTION}


def without_wrapping(expression):
    """What an expression consists of behind parentheses and the compiler's own conversions."""
    while expression.kind in (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR):
        inner = list(expression.get_children())
        if len(inner) != 1:
            break
        expression = inner[0]
    return expression


def does_nothing(call):
    """Whether a call's function has an empty body, as what only debug builds do has here."""
    definition = call.referenced.get_definition() if call.referenced else None
    if not definition or definition.kind not in FUNCTIONS:
        return False
    if definition.kind in (CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR):
        return False  # members have their own
    body = [child for child in definition.get_children() if child.kind == CursorKind.COMPOUND_STMT]
    return len(body) == 1 and not list(body[0].get_children())


def only_reads(call):
    function = call.referenced
    return bool(function) and function.kind in CALLABLE and (
        function.is_const_method() or function.spelling in ACCESSORS)


def has_effect(expression):
    """Whether evaluating an expression may change anything."""
    kind = expression.kind
    if kind == CursorKind.LAMBDA_EXPR:
        return False
    if kind in (CursorKind.CXX_NEW_EXPR, CursorKind.CXX_DELETE_EXPR, CursorKind.CXX_THROW_EXPR,
                CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
        return True
    if kind == CursorKind.CALL_EXPR and not does_nothing(expression) and not only_reads(expression):
        return True
    if kind == CursorKind.BINARY_OPERATOR and is_assignment(expression):
        return True
    if kind == CursorKind.UNARY_OPERATOR and any(
            token.spelling in ("++", "--") for token in expression.get_tokens()):
        return True
    return any(has_effect(child) for child in expression.get_children())


def is_assignment(expression):
    operands = list(expression.get_children())
    if len(operands) != 2:
        return False
    end, start = operands[0].extent.end.offset, operands[1].extent.start.offset
    return any(token.spelling == "=" and end <= token.extent.start.offset < start
               for token in expression.get_tokens())


def is_plain(target):
    """Whether an expression names an object without any pointer or call in between."""
    target = without_wrapping(target)
    if target.kind == CursorKind.ARRAY_SUBSCRIPT_EXPR:
        array, index = target.get_children()
        return is_plain(array) and without_wrapping(index).kind == CursorKind.INTEGER_LITERAL
    if target.kind not in (CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR):
        return False
    return "atomic" not in target.type.get_canonical().spelling and all(
        is_plain(child) for child in target.get_children() if child.kind.is_expression()
        and child.kind != CursorKind.CXX_THIS_EXPR)


def spelled(cursor):
    return [token.spelling for token in cursor.get_tokens()]


def assigned(statement):
    """What a plain assignment assigns to and what it assigns, None for any other statement."""
    statement = without_wrapping(statement)
    if statement.kind == CursorKind.BINARY_OPERATOR and is_assignment(statement):
        target, value = statement.get_children()
    elif statement.kind == CursorKind.CALL_EXPR and statement.spelling == "operator=":
        operands = list(statement.get_arguments())
        if len(operands) != 2:
            return None
        target, value = operands
    else:
        return None
    return (target, value) if is_plain(target) and not has_effect(value) else None


def are_independent(first, second):
    """Whether two statements assign to different objects that neither of them reads."""
    one, two = assigned(first), assigned(second)
    if not one or not two:
        return False

    def names(words, inside):
        return any(inside[at:at + len(words)] == words for at in range(len(inside)))

    return not names(spelled(one[0]), spelled(second)) and not names(spelled(two[0]),
                                                                     spelled(first))
