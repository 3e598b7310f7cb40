"""Wrong versions of C++ sources, made mechanically.

A seed names one of them as long as the sources stay: drop a statement, swap two neighbours, negate a condition, off by
one, another comparison, another width or sign, drop a catch, swap two arguments, return early. Not each one compiles.
"""
import random
import re

# Statements as the formatter writes them: behind an indentation, up to the end of a line.
STATEMENT = re.compile(r"(?m)^(?P<indent>(?: {4})+)(?P<text>[^\s#/}{][^;{}]*;)$")
NOT_DROPPED = re.compile(r"(?:return|break|continue|throw|using|static|const|case|default|goto|typedef|auto|extern)\b")
DECLARATION = re.compile(r"[\w:<>,*& ]+[\w>&*] \*?&?\w+(?: = .*|\{.*\}|\(.*\))?;$", re.DOTALL)
NESTED = r"[^()\n]|\([^()\n]*(?:\([^()\n]*\)[^()\n]*)*\)"
CONDITION = re.compile(rf"(?m)\b(?:if|while) \((?P<text>(?:{NESTED})+)\) \{{$")
COMPARISON = re.compile(r" (?P<text>==|!=|<=|>=|<|>|&&|\|\|) ")
NUMBER = re.compile(r"(?<![\w.\"'])(?P<text>\d+)(?![\w.\"'])")
TYPE = re.compile(r"\b(?P<text>std::u?int(?:8|16|32|64)_t|std::size_t|unsigned int|double|float|int)\b(?=[ >])")
HANDLER = re.compile(r"\} catch \([^)]*\) \{(?P<text>[^{}]*)\}")
ARGUMENT = r"[\w.:&*>\-\[\]]+(?:\(\))?"
ARGUMENTS = re.compile(rf"\w\((?P<text>{ARGUMENT}(?:, {ARGUMENT})+)\)")
BODY = re.compile(r"(?m)^(?P<head>[^\s#}/][^;{}]*\)[^;{}]*)\n\{\n(?P<text>)(?= )")

OTHER_COMPARISON = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
OTHER_TYPE = {
    "std::uint8_t": "std::int8_t", "std::uint16_t": "std::uint8_t", "std::uint32_t": "std::uint16_t",
    "std::uint64_t": "std::uint32_t", "std::int8_t": "std::uint8_t", "std::int16_t": "std::int8_t",
    "std::int32_t": "std::uint32_t", "std::int64_t": "std::int32_t", "std::size_t": "std::uint16_t",
    "unsigned int": "unsigned short", "int": "unsigned int", "double": "float", "float": "double",
}  # fmt: skip


def squeezed(text):
    return " ".join(text.split())


class Mutation:
    """A part of one file, and what stands there instead."""

    program = None  # every one that can notice it is tried

    def __init__(self, kind, file, text, start, end, replacement):
        self.file, self._start, self._end, self._replacement = file, start, end, replacement
        self.name = f"{kind} in {file}:{text.count(chr(10), 0, start) + 1}"
        # With the rest of its lines, so that an entry of a list finds its place again.
        first, last = text.rfind("\n", 0, start) + 1, text.find("\n", end)
        self.original = text[first:last].strip()
        self.replacement = (text[first:start] + replacement + text[end:last]).strip()

    @property
    def key(self):
        """What it is, wherever it stands in the file."""
        return self.file, squeezed(self.original), squeezed(self.replacement)

    def apply(self, text):
        return text[: self._start] + self._replacement + text[self._end :]


def statements(plain):
    found = STATEMENT.finditer(plain)
    return [match for match in found if not NOT_DROPPED.match(match["text"]) and not DECLARATION.match(match["text"])]


# Each yields start, end and replacement; plain has blanks and underscores where the text has comments and literals.


def dropped(plain, _text):
    for match in statements(plain):
        yield *match.span("text"), ""


def swapped(plain, text):
    found = statements(plain)
    for first, second in zip(found, found[1:]):
        if first.end() + 1 == second.start() and first["indent"] == second["indent"]:
            (begin, middle), (other, end) = first.span("text"), second.span("text")
            yield begin, end, text[other:end] + text[middle:other] + text[begin:middle]


def negated(plain, text):
    for match in CONDITION.finditer(plain):
        yield *match.span("text"), f"!({text[slice(*match.span('text'))]})"


def compared(plain, _text):
    for match in COMPARISON.finditer(plain):
        yield *match.span("text"), OTHER_COMPARISON[match["text"]]


def counted(plain, _text):
    for match in NUMBER.finditer(plain):
        for other in (int(match["text"]) + 1, int(match["text"]) - 1):
            if other >= 0:
                yield *match.span("text"), str(other)


def typed(plain, _text):
    for match in TYPE.finditer(plain):
        yield *match.span("text"), OTHER_TYPE[match["text"]]


def uncaught(plain, _text):
    for match in HANDLER.finditer(plain):
        yield *match.span("text"), " throw; "


def exchanged(plain, text):
    for match in ARGUMENTS.finditer(plain):
        begin = match.start("text")
        spans = [(begin + part.start(), begin + part.end()) for part in re.finditer(ARGUMENT, match["text"])]
        for (first, middle), (other, end) in zip(spans, spans[1:]):
            if text[first:middle] != text[other:end]:
                yield first, end, text[other:end] + text[middle:other] + text[first:middle]


def returned(plain, _text):
    for match in BODY.finditer(plain):
        value = "" if re.search(r"\bvoid [\w:]+\(", match["head"]) or "::~" in match["head"] else " {}"
        yield *match.span("text"), f"    return{value};\n"


KINDS = {
    "drops a statement": dropped, "swaps two statements": swapped, "negates a condition": negated,
    "compares otherwise": compared, "counts one more or less": counted, "takes another type": typed,
    "drops a catch": uncaught, "swaps two arguments": exchanged, "returns early": returned,
}  # fmt: skip
IN_BODIES_ONLY = (dropped, swapped)  # the declarations of a header are no statements


def without_comments(text):
    """The same text with blanks for comments and includes and underscores for literals: every place stays."""
    pattern = re.compile(r"""//[^\n]*|/\*.*?\*/|^[ \t]*\#[^\n]*|"(?:[^"\\\n]|\\.)*"|'(?:[^'\\\n]|\\.)*'""", re.DOTALL | re.MULTILINE)
    return pattern.sub(lambda match: re.sub(r"[^\n]", "_" if match[0][0] in "\"'" else " ", match[0]), text)


def all_of(files):
    """Every mutation of these files by kind; files are pairs of name and text."""
    found = {}
    for name, text in files:
        plain = without_comments(text)
        for kind, make in KINDS.items():
            if make in IN_BODIES_ONLY and name.endswith(".h"):
                continue
            for start, end, replacement in make(plain, text):
                found.setdefault(kind, []).append(Mutation(kind, name, text, start, end, replacement))
    return found


def choices(found, seed):
    """Mutations in the order in which this seed tries them: the first that compiles is the seed's."""
    chance = random.Random(seed)
    while True:
        yield chance.choice(found[chance.choice(list(found))])
