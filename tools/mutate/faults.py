"""What is planted instead of single tokens: operators and constants."""

import re

OPERATORS = {
    "==": ["!="],
    "!=": ["=="],
    "<": ["<="],
    "<=": ["<"],
    ">": [">="],
    ">=": [">"],
    "&&": ["||"],
    "||": ["&&"],
    "+": ["-"],
    "-": ["+"],
    "*": ["/"],
    "/": ["*"],
    "%": ["/"],
    "&": ["|"],
    "|": ["&"],
    "^": ["|"],
    "<<": [">>"],
    ">>": ["<<"],
    "+=": ["-="],
    "-=": ["+="],
    "*=": ["/="],
    "/=": ["*="],
    "&=": ["|="],
    "|=": ["&="],
    "<<=": [">>="],
    ">>=": ["<<="],
    "++": ["--"],
    "--": ["++"],
}

# Unary operators that can simply be left out.
DROPPED_OPERATORS = ("!", "-", "~")

INTEGER = re.compile(r"(0[xX][0-9a-fA-F']+|0[bB][01']+|[0-9][0-9']*)([uUlLzZ]*)\Z")
TEXT = re.compile(r'((?:u8|[uUL])?R?)"', re.DOTALL)
CHARACTER = re.compile(r"((?:u8|[uUL])?)'(.*)'\Z", re.DOTALL)


def other_integer(token):
    """An integer literal with another value: zero and one change places, others grow by one."""
    match = INTEGER.match(token)
    if not match:
        return None
    digits, suffix = match.group(1).replace("'", ""), match.group(2)
    if re.fullmatch("0[0-7]+", digits):
        value = int(digits, 8)
    else:
        value = int(digits, 0)
    changed = {0: 1, 1: 0}.get(value, value + 1)
    return (hex(changed) if digits[:2].lower() == "0x" else str(changed)) + suffix


def other_text(token):
    """A string literal with one character more in front; raw ones stay."""
    match = TEXT.match(token)
    if not match or match.group(1).endswith("R"):
        return None
    return f'{match.group(1)}"x{token[match.end():]}'


def other_character(token):
    """A character literal with the next character; an escape becomes an x."""
    match = CHARACTER.match(token)
    if not match:
        return None
    prefix, character = match.groups()
    plain = len(character) == 1 and character.isascii()
    following = chr(ord(character) + 1) if plain and character not in "&[~" else "x"
    return f"{prefix}'{following}'"


def other_boolean(token):
    return {"true": "false", "false": "true"}.get(token)
