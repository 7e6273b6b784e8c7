"""The small changes of a C++ source that tests must notice.

find_mutants(text) reads tokens, not a grammar: it relies on the sources being formatted by
clang-format (a comparison has blanks around it, a template's bracket has none), and a change that
does not compile is no harm: it is counted as such.
"""
import bisect
import dataclasses
import decimal
import re
import zlib

# What each rule changes, in the order of the report.
RULES = {
    "comparison": "< and <=, > and >=, == and !=",
    "logic": "&& and ||",
    "negation": "a condition negated, a ! removed",
    "constant": "a number with 1 more in its last digit, a character replaced by the next one",
    "boolean": "true and false",
    "text": "a text with a character less",
    "drop": "a statement left out",
    "swap": "two neighbouring statements swapped",
}

OTHER = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
LOGIC = {"&&": "||", "||": "&&"}
BOOLEAN = {"true": "false", "false": "true", "kTrue": "kFalse", "kFalse": "kTrue"}
JUMPS = {"return", "throw", "break", "continue"}

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<raw>R"(?P<delimiter>[^(\s]*)\(.*?\)(?P=delimiter)")
      | (?P<text>"(?:[^"\\\n]|\\.)*")
      | (?P<char>'(?:[^'\\\n]|\\.)+')
      | (?P<number>\d(?:[\w.']|(?<=[eE])[+-])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><=>|<<=|>>=|->\*|\.\.\.|::|->|<=|>=|==|!=|&&|\|\||\+\+|--|[-+*/%&|^]=|<<|[^\s])""",
    re.VERBOSE | re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.MULTILINE)
ESCAPE = re.compile(r"\\(?:x[0-9a-fA-F]+|[0-7]{1,3}|.)|.", re.DOTALL)
# Two names, or a type's end and a name, before "=", "(", "{", ";" or ":".
DECLARATION = re.compile(r"(?!(?:return|throw|delete|else|case|new|goto|co_return)\b)"
                         r"(?:[\w:]|<[^;={]*>|\s*[&*]+|\s+(?=\w))+?[\s&*>](?P<name>\w+)\s*(?:[=;({]|\[|:(?!:))")
# A declaration with a fixed value.
WITHOUT_EFFECT = re.compile(r"^(?!return\b)[\w:<>*&,]+(?: [\w:<>*&,]+)* \w+(?: = (?:[\d.']+|\"[^\"]*\"|"
                            r"true|kTrue|false|kFalse|nullptr))?;$")
NO_STATEMENT = {"static_assert", "using", "namespace", "template", "struct", "class", "enum",
                "public", "private", "protected", "case", "default", "friend", "typedef"}


@dataclasses.dataclass(frozen=True)
class Mutant:
    rule: str
    start: int  # the changed part of the text
    end: int
    new: str
    line: int  # from 1
    before: str  # one line each, for people and for the list of equivalent ones
    after: str

    def apply(self, text):
        return text[:self.start] + self.new + text[self.end:]


@dataclasses.dataclass
class Token:
    kind: str
    text: str
    start: int
    end: int


def tokens_of(text):
    blank = DIRECTIVE.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), text)
    for found in TOKEN.finditer(blank):
        if found.lastgroup != "comment":
            kind = "raw" if found["raw"] else found.lastgroup
            yield Token(kind, found[0], found.start(), found.end())


def one_more(number):
    """The number with 1 more in its last digit."""
    digits, suffix = re.fullmatch(r"(0[xX][\da-fA-F']+|[\d'.]+)(.*)", number).groups()
    plain = digits.replace("'", "")
    if plain[:2] in ("0x", "0X"):
        return hex(int(plain, 16) + 1) + suffix
    step = decimal.Decimal(1).scaleb(decimal.Decimal(plain).as_tuple().exponent)
    return str(decimal.Decimal(plain) + step) + suffix


def shorter(literal):
    """The literal without one character; which one depends on nothing but the literal."""
    opening, closing = literal.index('"') + 1, len(literal) - 1
    if literal.startswith("R"):
        opening, closing = literal.index("(") + 1, literal.rindex(")")
    parts = ESCAPE.findall(literal[opening:closing])
    if not parts:
        return None
    letters = ([i for i, part in enumerate(parts) if part.isalnum()]
               or [i for i, part in enumerate(parts) if not part.isspace()]  # blanks mean little
               or list(range(len(parts))))
    del parts[letters[zlib.crc32(literal.encode()) % len(letters)]]
    return literal[:opening] + "".join(parts) + literal[closing:]


def next_character(literal):
    parts = ESCAPE.findall(literal[1:-1])
    if len(parts) != 1:
        return None
    part = parts[0]
    return "'" + (chr(ord(part) + 1) if len(part) == 1 and chr(ord(part) + 1) not in "'\\" else "#") + "'"


class Finder:
    def __init__(self, text, is_table):
        self.text = text
        self.tokens = list(tokens_of(text))
        self.lines = [0] + [found.end() for found in re.finditer("\n", text)]
        self.mutants = []
        self.partner = self.match_brackets()
        self.left_out = self.assertions()
        self.is_table = is_table

    def match_brackets(self):
        partner, stack = {}, []
        for i, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in "([{":
                stack.append(i)
            elif token.kind == "sign" and token.text in ")]}" and stack:
                partner[i] = stack.pop()
                partner[partner[i]] = i
        return partner

    def assertions(self):
        """What the compiler checks itself."""
        return {inside for i, token in enumerate(self.tokens)
                if token.text == "static_assert"
                for inside in range(i, self.partner[i + 1])}

    def source(self, first, last):
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def add(self, rule, start, end, new, shown=None):
        line = bisect.bisect_right(self.lines, start)
        if shown:
            before, after = (" ".join(part.split()) for part in shown)
        else:
            first = self.lines[line - 1]
            last = self.text.find("\n", end)
            last = len(self.text) if last < 0 else last
            before = " ".join(self.text[first:last].split())
            after = " ".join((self.text[first:start] + new + self.text[end:last]).split())
        self.mutants.append(Mutant(rule, start, end, new, line, before, after))

    def find(self):
        for i, token in enumerate(self.tokens):
            if i in self.left_out:
                continue
            self.small_changes(i, token)
            if token.kind == "word" and token.text in ("if", "while", "for"):
                self.negate_condition(i)
            if token.text == "{" and self.opens_block(i):
                self.change_statements(list(self.statements(i + 1, self.partner[i])))
        if self.is_table:
            self.change_statements(list(self.entries()))
        return sorted(self.mutants, key=lambda mutant: (mutant.start, mutant.end, mutant.rule))

    def small_changes(self, i, token):
        before = self.text[token.start - 1:token.start]
        after = self.text[token.end:token.end + 1]
        if token.kind == "sign":
            stands_free = before.isspace() and after.isspace()
            if stands_free and token.text in OTHER:
                self.add("comparison", token.start, token.end, OTHER[token.text])
            elif stands_free and token.text in LOGIC:
                self.add("logic", token.start, token.end, LOGIC[token.text])
            elif token.text == "!" and not self.is_whole_condition(i):
                self.add("negation", token.start, token.end, "")
            elif token.text == "?":
                self.negate_choice(i)
        elif token.kind == "number":
            if not (token.text == "0" and self.is_pure(i)):
                self.add("constant", token.start, token.end, one_more(token.text))
        elif token.kind == "char":
            new = next_character(token.text)
            if new:
                self.add("constant", token.start, token.end, new)
        elif token.kind in ("text", "raw"):
            new = shorter(token.text)
            if new:
                self.add("text", token.start, token.end, new)
        elif token.text in BOOLEAN:
            self.add("boolean", token.start, token.end, BOOLEAN[token.text])

    def is_pure(self, i):
        """The 0 of a function without a definition."""
        return (i >= 2 and self.tokens[i - 1].text == "="
                and self.tokens[i - 2].text in (")", "const", "noexcept", "override"))

    def is_whole_condition(self, i):
        """Negating the condition does the same."""
        if i < 2 or self.tokens[i - 1].text != "(":
            return False
        keyword = self.tokens[i - 2].text
        inside = range(i + 1, self.partner[i - 1])
        return keyword in ("if", "while") and not any(
            self.tokens[k].text in ("&&", "||", "==", "!=", "<", ">", "<=", ">=", "?", ";")
            for k in inside)

    # --- conditions ------------------------------------------------------------------------------

    def negate_condition(self, i):
        opening = i + 1
        if self.tokens[opening].text == "constexpr":
            opening += 1
        if opening not in self.partner:
            return
        first, last = opening + 1, self.partner[opening] - 1
        parts, at = [], first
        while at <= last:
            if at in self.partner and self.partner[at] > at:
                at = self.partner[at]
            elif self.tokens[at].text == ";":
                parts.append((first, at - 1))
                first = at + 1
            at += 1
        parts.append((first, last))
        if self.tokens[i].text == "for":
            if len(parts) != 3:
                return
            first, last = parts[1]
        else:
            first, last = parts[-1]
        if first > last:
            return
        condition = self.source(first, last)
        declared = DECLARATION.match(condition)
        if declared and condition[declared.end("name"):].lstrip().startswith("="):
            new = f"{condition}; !({declared['name']})"
        else:
            new = f"!({condition})"
        self.add("negation", self.tokens[first].start, self.tokens[last].end, new)

    def negate_choice(self, i):
        """The condition of "condition ? one : other"."""
        first = i
        while first > 0:
            previous = self.tokens[first - 1]
            if previous.text in ")]}" and first - 1 in self.partner:
                first = self.partner[first - 1]
            elif (previous.text in ("(", "[", "{", ",", "=", "+=", "return", "?", ":", ";", "<<")):
                break
            else:
                first -= 1
        if first < i:
            start, end = self.tokens[first].start, self.tokens[i - 1].end
            self.add("negation", start, end, f"!({self.text[start:end]})")

    # --- statements ------------------------------------------------------------------------------

    def opens_block(self, i):
        """True for the bracket of a block of statements; false for that of a list of values, a
        class or a namespace."""
        if i == 0 or i not in self.partner:
            return False
        previous = self.tokens[i - 1].text
        if previous in (")", "else", "do", "try", "mutable", "noexcept", "override"):
            return True
        if previous == "]":  # of a lambda, not of an array
            return self.tokens[self.partner[i - 1] - 1].kind == "sign"
        # A function's "const {" or "-> type {".
        for k in range(i - 1, max(i - 14, 0), -1):
            text = self.tokens[k].text
            if text == "->" or (text == "const" and self.tokens[k - 1].text == ")"):
                return True
            if self.tokens[k].kind != "word" and text not in ("::", "<", ">", "*", "&", ","):
                return False
        return False

    def statements(self, at, end):
        while at < end:
            if self.tokens[at].text == ";":
                at += 1
                continue
            last = self.statement_end(at)
            yield at, last
            at = last + 1

    def statement_end(self, at):
        """The last token of the statement that begins with this one."""
        word = self.tokens[at].text
        if word == "{":
            return self.partner[at]
        if word in ("if", "for", "while", "switch"):
            opening = at + 1
            if self.tokens[opening].text != "(":
                opening += 1
            last = self.statement_end(self.partner[opening] + 1)
            while word == "if" and self.tokens[last + 1].text == "else":
                last = self.statement_end(last + 2)
            return last
        if word == "do":
            last = self.statement_end(at + 1)
            return self.partner[last + 2] + 1
        if word == "try":
            last = self.partner[at + 1]
            while self.tokens[last + 1].text == "catch":
                last = self.partner[self.partner[last + 2] + 1]
            return last
        is_label = word in ("case", "default")
        while True:
            if self.tokens[at].text == ";" or (is_label and self.tokens[at].text == ":"):
                return at
            opened = self.partner.get(at, -1)
            at = opened + 1 if opened > at else at + 1

    def entries(self):
        """The lines NAME(…) of a table that is written with macros."""
        at = 0
        while at + 1 < len(self.tokens):
            if self.tokens[at].kind == "word" and self.tokens[at + 1].text == "(":
                yield at, self.partner[at + 1]
                at = self.partner[at + 1]
            at += 1

    def declared_name(self, statement):
        found = DECLARATION.match(self.source(*statement))
        return found["name"] if found else None

    def change_statements(self, statements):
        def word(statement):
            return self.tokens[statement[0]].text

        for statement in statements:
            if word(statement) in NO_STATEMENT or (
                    not self.is_table and self.declared_name(statement)):
                continue
            source = self.source(*statement)
            self.add("drop", self.tokens[statement[0]].start, self.tokens[statement[1]].end,
                     "" if self.is_table else ";", (source, ""))
        for one, other in zip(statements, statements[1:]):
            if {word(one), word(other)} & (NO_STATEMENT | JUMPS):
                continue
            first, second = self.source(*one), self.source(*other)
            if WITHOUT_EFFECT.search(first) or WITHOUT_EFFECT.search(second):
                continue
            name = self.declared_name(one)
            if not self.is_table:
                if name and self.declared_name(other):
                    continue
                if name and re.search(rf"\b{name}\b", second):
                    continue  # would not compile
            if " ".join(first.split()) == " ".join(second.split()):
                continue
            start, end = self.tokens[one[0]].start, self.tokens[other[1]].end
            between = self.text[self.tokens[one[1]].end:self.tokens[other[0]].start]
            self.add("swap", start, end, second + between + first,
                     (first + " " + second, second + " " + first))


def find_mutants(text, is_table=False):
    """All mutants of a source, in the order of their places.

    is_table: a file of macro calls, one entry each, such as ladders.def
    """
    return Finder(text, is_table).find()
