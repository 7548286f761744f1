#!/usr/bin/python3
"""Makes the golden names of every key of a 105-key keyboard, from keymaps that xkbcli compiles:

    make_key_names.py [--check]

For each layout this folder gets the compiled keymap, LAYOUT.xkb, and LAYOUT.names with a line for each key: its
code, a tab, and what the editor of shortcuts calls it with no modifiers. With --check nothing is written, but
names that would change are told, with exit status 1. Nothing of the Launcher's own code is used: the keymap's
text is read here, and what a keysym stands for is told below.
"""

import pathlib
import re
import subprocess
import sys

LAYOUTS = {"us": ("us", ""), "de": ("de", ""), "fr": ("fr", ""), "us-intl": ("us", "intl")}

# The keys of the keyboard as it lies on the desk, row by row.
KEYS = """
ESC FK01 FK02 FK03 FK04 FK05 FK06 FK07 FK08 FK09 FK10 FK11 FK12 PRSC SCLK PAUS
TLDE AE01 AE02 AE03 AE04 AE05 AE06 AE07 AE08 AE09 AE10 AE11 AE12 BKSP INS HOME PGUP NMLK KPDV KPMU KPSU
TAB AD01 AD02 AD03 AD04 AD05 AD06 AD07 AD08 AD09 AD10 AD11 AD12 RTRN DELE END PGDN KP7 KP8 KP9 KPAD
CAPS AC01 AC02 AC03 AC04 AC05 AC06 AC07 AC08 AC09 AC10 AC11 BKSL KP4 KP5 KP6
LFSH LSGT AB01 AB02 AB03 AB04 AB05 AB06 AB07 AB08 AB09 AB10 RTSH UP KP1 KP2 KP3 KPEN
LCTL LWIN LALT SPCE RALT RWIN COMP RCTL LEFT DOWN RGHT KP0 KPDL
""".split()

# By keysym; "Return" and "Enter" are called by each other's name.
SPECIAL = {
    "Escape": "Escape", "BackSpace": "Backspace", "Tab": "Tab", "Return": "Enter", "KP_Enter": "Return",
    "Delete": "Delete", "Home": "Home", "End": "End", "Prior": "Page Up", "Next": "Page Down",
    "Left": "Left Arrow", "Right": "Right Arrow", "Up": "Up Arrow", "Down": "Down Arrow", "space": "Space",
    "Insert": "Insert", "Print": "Print Screen", "Scroll_Lock": "Scroll Lock", "Pause": "Pause", "Menu": "Menu",
}

# What keysyms that are not their own character stand for.
CHARACTER = {
    "grave": "`", "minus": "-", "equal": "=", "bracketleft": "[", "bracketright": "]", "semicolon": ";",
    "apostrophe": "'", "backslash": "\\", "comma": ",", "period": ".", "slash": "/", "less": "<", "plus": "+",
    "numbersign": "#", "ssharp": "ß", "udiaeresis": "ü", "odiaeresis": "ö", "adiaeresis": "ä",
    "twosuperior": "²", "ampersand": "&", "eacute": "é", "quotedbl": '"', "parenleft": "(", "egrave": "è",
    "underscore": "_", "ccedilla": "ç", "agrave": "à", "parenright": ")", "dollar": "$", "ugrave": "ù",
    "asterisk": "*", "exclam": "!", "colon": ":", "KP_Divide": "/", "KP_Multiply": "*", "KP_Subtract": "-",
    "KP_Add": "+", "KP_Decimal": ".", "KP_Separator": ",", **{f"KP_{digit}": str(digit) for digit in range(10)},
}

# Keys that give no text by themselves.
SILENT = re.compile(r"dead_\w+|(Shift|Control|Alt|Super)_[LR]|Caps_Lock|Num_Lock|ISO_Level3_Shift")


def compile_keymap(layout, variant):
    return subprocess.run(["xkbcli", "compile-keymap", "--rules", "evdev", "--model", "pc105", "--layout",
                           layout, "--variant", variant], stdout=subprocess.PIPE, text=True,
                          check=True).stdout


def key_codes(keymap):
    codes = {name: int(code) for name, code in re.findall(r"<(\w[\w+-]*)>\s*=\s*(\d+);", keymap)}
    for name, other in re.findall(r"alias\s+<(\w+)>\s*=\s*<(\w+)>;", keymap):
        codes[name] = codes[other]
    return codes


def levels(keymap, key):
    """The keysyms of the key's levels in the first group; none when the keymap has no such key."""
    found = re.search(rf"key <{key}>\s*\{{(.*?)\n?\s*\}};", keymap, re.DOTALL)
    if not found:
        return []
    symbols = re.search(r"(?:symbols\[(?:Group)?1\]\s*=\s*)?\[([^\]]*)\]\s*(?:,|$)",
                        re.sub(r"\s*type(\[\w+\])?=\s*\"[^\"]*\",", "", found.group(1)).strip())
    return [keysym.strip() for keysym in symbols.group(1).split(",")]


def name_of(keysyms):
    if not keysyms:
        return "(null)"
    # A key of the keypad is called by its number.
    keysym = keysyms[1] if keysyms[0].startswith("KP_") and len(keysyms) > 1 and re.fullmatch(
        r"KP_(\d|Decimal|Separator|comma|period)|comma|period", keysyms[1]) else keysyms[0]
    if keysym in SPECIAL:
        return SPECIAL[keysym]
    if re.fullmatch(r"F\d+", keysym):
        return keysym
    if SILENT.fullmatch(keysym):
        return "(null)"
    character = CHARACTER.get(keysym, keysym)
    if len(character) != 1:
        raise SystemExit(f"What does {keysym} stand for?")
    return character.upper()


def main():
    folder = pathlib.Path(__file__).resolve().parent
    check = sys.argv[1:] == ["--check"]
    stale = []
    assert len(KEYS) == len(set(KEYS)) == 105, len(KEYS)
    for name, (layout, variant) in LAYOUTS.items():
        keymap = compile_keymap(layout, variant)
        codes = key_codes(keymap)
        names = "".join(f"{codes[key]}\t{name_of(levels(keymap, key))}\n" for key in KEYS)
        golden = folder / f"{name}.names"
        if check:
            stale += [] if golden.read_text(encoding="utf-8") == names else [golden.name]
        else:
            (folder / f"{name}.xkb").write_text(keymap, encoding="utf-8")
            golden.write_text(names, encoding="utf-8")
    if stale:
        sys.exit(f"Not what xkbcli's keymaps give: {', '.join(stale)}")


if __name__ == "__main__":
    main()
