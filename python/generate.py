# SPDX-License-Identifier: MIT
"""Writes what the package knows of the printer: one class a contract, with annotations.

    generate.py DIRECTORY        the whole package, ready to be imported from DIRECTORY

Methods, signals, types, parameter names and documentation come from interfaces/*.xml. The two
things that XML does not hold, the defaults of parameters and the fields of the supply record, come
from the headers of the C++ client.
"""

from __future__ import annotations

import pathlib
import re
import shutil
import sys
import xml.etree.ElementTree as ElementTree
from typing import Dict, List, NamedTuple, Tuple

HERE = pathlib.Path(__file__).resolve().parent
TREE = HERE.parent
DAEMONS = {"ioexpd": "IOEXPD", "m4": "M4", "supplyd": "SUPPLYD"}
# Of each D-Bus type: the type in Python, and what a daemon for tests replies.
TYPES = {"": ("None", "None"), "b": ("bool", "True"), "i": ("int", "0"), "u": ("int", "0"),
         "t": ("int", "0"), "d": ("float", "0.0"), "s": ("str", '""'), "as": ("List[str]", "[]"),
         "ay": ("bytes", 'b""'), "av": ("List[Any]", "[]"), "a{sv}": ("Dict[str, Any]", "{}"),
         "(": ("SupplyInformation", "SupplyInformation()")}
DOC = "{http://www.freedesktop.org/dbus/1.0/doc.dtd}"


class Member(NamedTuple):
    daemon: str
    name: str
    parameters: List[Tuple[str, str]]
    result: str
    text: str


def python_type(signature: str) -> str:
    return TYPES["(" if signature.startswith("(") else signature][0]


def read_interface(daemon: str) -> Tuple[List[Member], List[Member]]:
    path = TREE / "interfaces" / f"local.IHNIPC{DAEMONS[daemon]}.xml"
    interface = ElementTree.parse(path).getroot().find("interface")
    assert interface is not None
    members: Dict[str, List[Member]] = {"method": [], "signal": []}
    for element in interface:
        if element.tag in members:
            arguments = element.findall("arg")
            taken = [(argument.attrib["name"], argument.attrib["type"]) for argument in arguments
                     if argument.get("direction") != "out"]
            result = "".join(argument.attrib["type"] for argument in arguments
                             if argument.get("direction") == "out")
            text = element.findtext(f"{DOC}doc/{DOC}summary") or ""
            members[element.tag].append(
                Member(daemon, element.attrib["name"], taken, result, text))
    return members["method"], members["signal"]


def read_defaults() -> Dict[str, Dict[str, str]]:
    """Of each slot: its parameters that have a default, which is written in Python."""
    header = (TREE / "include/hnipc/hnipc.h").read_text(encoding="utf-8")
    slots = re.sub(r"//.*", "", header[header.index("public Q_SLOTS:"):])
    result: Dict[str, Dict[str, str]] = {}
    for name, parameters in re.findall(r"(\w+)\(((?:[^()]|\(\))*)\);", slots):
        for parameter, value in re.findall(r"(\w+) = ([^,]+)", parameters):
            value = value.strip()
            if value != "QString()" and not re.fullmatch(r"-?\d+", value):
                sys.exit(f"hnipc.h: {name}: the default {value} is not known to generate.py")
            result.setdefault(name, {})[parameter] = '""' if value == "QString()" else value
    return result


def read_record() -> List[Tuple[str, str, str, str]]:
    """The fields of the record: name, D-Bus type (none for one that stays), default, text."""
    header = (TREE / "include/hnipc/supplyinformation.h").read_text(encoding="utf-8")
    result = []
    for name, default, text in re.findall(r"^    \w+ (\w+)(?: = (\S+))?; +///< (.*)$", header, re.M):
        member = re.match(r"Member (\d+): (\w+)\.", text)
        signature = member.group(2) if member else ""
        if member and int(member.group(1)) != len([row for row in result if row[1]]) + 1:
            sys.exit(f"supplyinformation.h: {name} is not member {member.group(1)}")
        default = default.rstrip("f") or TYPES[signature or "s"][1]
        result.append((name, signature, default, text))
    return result


def by_name(methods: List[Member]) -> Dict[str, List[Member]]:
    result: Dict[str, List[Member]] = {}
    for method in methods:
        result.setdefault(method.name, []).append(method)
    return result


# ---- Writing ---------------------------------------------------------------------------------

HEAD = '''# SPDX-License-Identifier: MIT
"""{}

Made by generate.py; changes here are lost.
"""

from __future__ import annotations

'''


def documented(text: str, indent: str = " " * 8) -> str:
    return f'{indent}"""{text}"""\n'


def descriptors(methods: List[Member]) -> str:
    result = ""
    for name, forms in by_name(methods).items():
        rows = "".join(f"\n    Method({form.daemon!r}, {name!r}, {tuple(form.parameters)!r}, "
                       f"{form.result!r})," for form in forms)
        result += f"_{name} = ({rows}\n)\n"
    return result


def declared(forms: List[Member], defaults: Dict[str, str], omitted: str = "") -> str:
    """The parameters of a method, whose forms have different ones."""
    longest = max(forms, key=lambda form: len(form.parameters)).parameters
    least = min(len(form.parameters) for form in forms)
    result = ""
    for place, (name, signature) in enumerate(longest):
        default = omitted if place >= least else defaults.get(name)
        result += f", {name}: {python_type(signature) if len(forms) == 1 else 'Any'}"
        result += f" = {default}" if default else ""
    return result


def values(form: Member) -> str:
    """Its arguments, as a tuple."""
    return "(" + "".join(f"{name}, " for name, _ in form.parameters).rstrip() + ")"


def client_method(forms: List[Member], defaults: Dict[str, str], define: str) -> str:
    name, result = forms[0].name, python_type(forms[0].result)
    wait = "" if define == "def" else "await "
    end = f", *, timeout: Optional[float] = None) -> {result}:"
    text = ""
    arguments = values(forms[0])
    if len(forms) > 1:
        for form in forms:
            text += f"    @overload\n    {define} {name}(self{declared([form], {})}{end}\n"
            text += documented(form.text) + "        ...\n\n"
        arguments = f"given{arguments}"
    text += f"    {define} {name}(self{declared(forms, defaults, 'OMITTED')}{end}\n"
    text += documented(forms[0].text)
    call = f"{wait}self._call(_{name}, {arguments}, timeout)"
    if result == "None":
        return text + f"        {call}\n\n"
    return text + f"        result: {result} = {call}\n        return result\n\n"


def write_methods(methods: List[Member], defaults: Dict[str, Dict[str, str]]) -> str:
    text = HEAD.format("The methods of the printer, under the names of the C++ client.")
    text += ("from typing import Any, Dict, List, Optional, Tuple, overload\n\n"
             "from ._core import OMITTED, Method, given\nfrom .record import SupplyInformation\n\n")
    text += descriptors(methods) + "\n"
    for name, define in (("Methods", "def"), ("AsyncMethods", "async def")):
        text += (f"\nclass {name}:\n    {define} _call(self, forms: Tuple[Method, ...], "
                 "arguments: Tuple[Any, ...],\n              timeout: Optional[float]) -> Any:\n"
                 "        raise NotImplementedError\n\n")
        for method, forms in by_name(methods).items():
            text += client_method(forms, defaults.get(method, {}), define)
    all_names = ", ".join(f"{name!r}: _{name}" for name in by_name(methods))
    return text + f"\nMETHODS: Dict[str, Tuple[Method, ...]] = {{{all_names}}}\n"


def write_events(signals: List[Member]) -> str:
    text = HEAD.format("The events of the printer, each a named tuple.")
    text += "from typing import Any, Dict, List, NamedTuple, Tuple, Type\n\n"
    rows = ""
    for signal in signals:
        prefix = DAEMONS[signal.daemon] + "_"
        assert signal.name.startswith(prefix), signal.name
        name = signal.name[len(prefix):]
        signature = "".join(kind for _, kind in signal.parameters)
        text += f"\nclass {name}(NamedTuple):\n" + documented(signal.text, " " * 4)
        text += "".join(f"    {parameter}: {python_type(kind)}\n"
                        for parameter, kind in signal.parameters) + "\n"
        rows += f"    ({signal.daemon!r}, {signal.name!r}): ({name}, {signature!r}),\n"
    return (text + "\n# By daemon and name on the bus: the class, and the D-Bus types of it.\n"
            f"EVENTS: Dict[Tuple[str, str], Tuple[Type[Any], str]] = {{\n{rows}}}\n")


def write_record(fields: List[Tuple[str, str, str, str]]) -> str:
    text = HEAD.format("The supply record.")
    text += "import dataclasses\nfrom typing import Any, List\n\n\n@dataclasses.dataclass\n"
    text += 'class SupplyInformation:\n    """A supply and its ribbons. The supply daemon defines '
    text += 'meaning and unit of each field."""\n\n'
    rows = ""
    for name, signature, default, comment in fields:
        if default == "[]":
            default = "dataclasses.field(default_factory=list)"
        text += f"    #: {comment}\n    {name}: {python_type(signature or 's')} = {default}\n"
        rows += f"    ({name!r}, {signature!r}),\n" if signature else ""
    return text + f"\n\n# The members on the bus: field and D-Bus type.\nMEMBERS = (\n{rows})\n"


def write_daemons(methods: List[Member], signals: List[Member]) -> str:
    text = HEAD.format("Daemons for tests: override the methods that matter for the test.")
    text += ("from typing import Any, Dict, List\n\nfrom .._core import Method\n"
             "from ..record import SupplyInformation\nfrom ._daemon import Daemon\n\n")
    types = {(signal.daemon, signal.name): "".join(kind for _, kind in signal.parameters)
             for signal in signals}
    for daemon, label in DAEMONS.items():
        own = [method for method in methods if method.daemon == daemon]
        text += f"\nclass {label}(Daemon):\n    KIND = {daemon!r}\n    METHODS = (\n"
        text += "".join(f"        Method({method.daemon!r}, {method.name!r}, "
                        f"{tuple(method.parameters)!r}, {method.result!r}),\n" for method in own)
        text += "    )\n\n"
        for name, forms in by_name(own).items():
            text += f"    def {name}(self{declared(forms, {}, '0')}) -> "
            text += f"{python_type(forms[0].result)}:\n"
            text += documented(forms[0].text)
            pulsed = re.fullmatch(r"pulse(\w+)Signal", name)
            if pulsed:
                member = f"{label}_{pulsed.group(1)}"
                text += (f"        return self.emit({member!r}, {types[daemon, member]!r}, "
                         f"{values(forms[0])})\n\n")
                continue
            answer = TYPES["(" if "(" in forms[0].result else forms[0].result][1]
            # What reads a switch says that it is not active.
            if types.get((daemon, f"{label}_M4{name[0].upper()}{name[1:]}")) == "b":
                answer = "False"
            text += f"        return {answer}\n\n" if answer != "None" else "\n"
    return text


def write_blocking() -> str:
    text = (HERE / "hnipc/aio.py").read_text(encoding="utf-8")
    text = HEAD.format("The printer, with calls that wait.") + text[text.index("from typing"):]
    text = re.sub(r"\b(async|await) |Async|# blocking: ", "", text)
    return re.sub("__a(enter|exit|iter|next)__", r"__\1__", text)


def generate(package: pathlib.Path) -> None:
    methods: List[Member] = []
    signals: List[Member] = []
    for daemon in DAEMONS:
        own_methods, own_signals = read_interface(daemon)
        methods += own_methods
        signals += own_signals
    called = [method for method in methods if not re.fullmatch(r"pulse\w+Signal", method.name)]
    files = {
        "_blocking.py": write_blocking(),
        "_methods.py": write_methods(called, read_defaults()),
        "events.py": write_events(signals),
        "record.py": write_record(read_record()),
        "testing/daemons.py": write_daemons(methods, signals),
    }
    for name, text in files.items():
        (package / name).write_text(text, encoding="utf-8")
    for daemon in DAEMONS.values():
        name = f"local.IHNIPC{daemon}.xml"
        shutil.copyfile(TREE / "interfaces" / name, package / "testing" / name)


def version() -> str:
    text = (TREE / "CMakeLists.txt").read_text(encoding="utf-8")
    return str(re.findall(r"project\(HNIPC VERSION ([0-9.]+)", text)[0])


if __name__ == "__main__":
    target = pathlib.Path(sys.argv[1]) / "hnipc"
    shutil.copytree(HERE / "hnipc", target, dirs_exist_ok=True,
                    ignore=shutil.ignore_patterns("__pycache__"))
    generate(target)
