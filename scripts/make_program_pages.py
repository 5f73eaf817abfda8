#!/usr/bin/env python3
"""Makes the manual page of ktmp4 and its completions for bash, zsh and fish, out of what the program says of itself.

    ktmp4 --describe | scripts/make_program_pages.py DATE FOLDER

Commands, options and words come out of the program alone, so that a new one needs nothing here. DATE is that of the
version, as in 2026-11-22.
"""
import gzip
import json
import os
import re
import sys
import textwrap


def main():
    date, folder = sys.argv[1:]
    program = json.load(sys.stdin)
    pages = {"ktmp4.1": manual(program, date), "ktmp4.bash": bash(program), "_ktmp4": zsh(program),
             "ktmp4.fish": fish(program)}
    os.makedirs(folder, exist_ok=True)
    for name, text in pages.items():
        with open(os.path.join(folder, name), "w", encoding="utf-8") as page:
            page.write(text)
    # As systems want it; the same for the same text.
    with open(os.path.join(folder, "ktmp4.1.gz"), "wb") as page:
        page.write(gzip.compress(pages["ktmp4.1"].encode(), mtime=0))


def switches(command):
    return [option for option in command["options"] if option["names"]]


def arguments(command):
    return [option for option in command["options"] if option["argument"]]


# The manual page, in the macros of man(7).

def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"^(?=[.'])", r"\\&", text, flags=re.M)


def flowing(text):
    return roff(textwrap.fill(text, 72, break_long_words=False, break_on_hyphens=False))


def manual(program, date):
    lines = [f'.TH KTMP4 1 {date} "ktmp4 {program["version"]}"', ".SH NAME", f"ktmp4 \\- {summary(program)}",
             ".SH SYNOPSIS"]
    for place, command in enumerate(program["commands"]):
        lines += ([".br"] if place else []) + [synopsis(command)]
    lines += [".SH OPTIONS"]
    for option in switches(program):
        lines += tagged(option)
    lines += [".SH COMMANDS"]
    for command in program["commands"]:
        lines += [f".SS {roff(command['name'])}", flowing(command["text"] + ".")]
        for option in arguments(command) + switches(command):
            if "--help" not in option["names"]:
                lines += tagged(option)
        lines += remarks(command["more"])
    lines += [".SH NOTES"] + remarks(program["more"])[1:]
    return "\n".join(lines) + "\n"


def summary(program):
    return roff(program["text"][0].lower() + program["text"][1:].rstrip("."))


def synopsis(command):
    options = " [\\fIOPTION\\fR]..." if switches(command) else ""
    names = "".join(f" \\fI{roff(option['argument'])}\\fR" for option in arguments(command))
    return f"\\fBktmp4 {roff(command['name'])}\\fR{options}{names}"


def tagged(option):
    if option["argument"]:
        tag = f"\\fI{roff(option['argument'])}\\fR"
    else:
        tag = ", ".join(f"\\fB{roff(name)}\\fR" for name in option["names"])
        if option["value"]:
            tag += f" \\fI{roff(option['value'])}\\fR"
        if option["required"]:
            tag += " (required)"
    text = option["text"]
    if any(not re.search(rf"\b{re.escape(word)}\b", text) for word in option["words"]):
        text += f" ({', '.join(option['words'])})"
    return [".TP", tag, flowing(text)]


def remarks(text):
    """Paragraphs flow, rows of two columns become terms with what they mean, and indented rows a list."""
    parts = []  # kind, term, words
    for line in text.split("\n"):
        row = re.match(r" {0,2}(?:(\S+(?: \S+)?) {2,}|(\w+:) +)(\S.*)$", line)
        kind = parts[-1][0] if parts else None
        if row:
            parts.append(["row", row[1] or row[2], row[3]])
        elif kind == "row" and re.match(r" {4,}\S", line):
            parts[-1][2] += " " + line.strip()
        elif line.startswith(" "):
            parts.append(["item", "", line.strip()])
        elif line and kind == "text":
            parts[-1][2] += " " + line
        elif line:
            parts.append(["text", "", line])
        else:
            parts.append([None, "", ""])  # the next line begins a paragraph
    lines = []
    for kind, term, words in parts:
        if kind == "row":
            lines += [".TP", f"\\fB{roff(term)}\\fR"]
        elif kind == "item":
            lines += [".IP \\(bu 2"]
        elif kind == "text":
            lines += [".PP"]
        lines += [flowing(words)] if kind else []
    return lines


# Completions. The first word behind the options is the command; options that take one of a few words offer these, those
# whose value is called FILE or OUT take a file, others nothing that could be offered. An argument is a file.

def takes_file(option):
    return re.search("FILE|OUT", option["value"]) is not None


def bash(program):
    values, silent, switch_rows = [], [], []
    for command in [{**program, "name": ""}] + program["commands"]:
        names = " ".join(name for option in switches(command) for name in option["names"])
        switch_rows.append(f'        "{command["name"]}") words="{names}" ;;')
        for option in switches(command):
            place = " | ".join(f'"{command["name"]} {name}"' for name in option["names"])
            if option["words"]:
                values.append(f'    {place}) words="{" ".join(option["words"])}" ;;')
            elif option["value"] and not takes_file(option):
                silent.append(place)
    rows = "\n".join(values + [f"    {' | '.join(silent)}) ;;"] if silent else values)
    return f"""# Completion of ktmp4 for bash.
_ktmp4() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}} command="" words="" place
  for ((place = 1; place < COMP_CWORD; ++place)); do
    if [[ ${{COMP_WORDS[place]}} != -* ]]; then
      command=${{COMP_WORDS[place]}}
      break
    fi
  done
  case "$command $before" in
{rows}
    *)
      case $word,$command in
        -*)
          case $command in
{chr(10).join("    " + row for row in switch_rows)}
          esac
          ;;
        *,) words="{" ".join(command["name"] for command in program["commands"])}" ;;
        *)
          compopt -o filenames 2>/dev/null
          mapfile -t COMPREPLY < <(compgen -f -- "$word")
          return
          ;;
      esac
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}}
complete -F _ktmp4 ktmp4
"""


def zsh(program):
    def quoted(text):
        return "'" + text.replace("'", "'\\''") + "'"

    def described(text):
        return re.sub(r"([\[\]\\])", r"\\\1", text)

    def spec(option):
        value = ""
        if option["value"]:
            offered = f"({' '.join(option['words'])})" if option["words"] else "_files" if takes_file(option) else " "
            value = f":{option['value'].replace(':', chr(92) + ':')}:{offered}"
        repeated = "*" if option["repeats"] else f"({' '.join(option['names'])})"
        return [quoted(f"{repeated}{name}[{described(option['text'])}]{value}") for name in option["names"]]

    def arguments_call(command, last):
        specs = [s for option in switches(command) for s in spec(option)]
        return "_arguments -S " + " ".join(specs + last)

    cases = "\n".join(f"    {command['name']}) {arguments_call(command, [quoted('*:file:_files')])} ;;"
                      for command in program["commands"])
    names = " ".join(quoted(f"{c['name']}:{c['text'].replace(':', chr(92) + ':')}") for c in program["commands"])
    top = arguments_call(program, [quoted("1:command:->command"), quoted("*::argument:->argument")])
    return f"""#compdef ktmp4
# Completion of ktmp4 for zsh.
local curcontext=$curcontext state line
typeset -A opt_args
local -a commands=({names})
{top.replace("_arguments -S", "_arguments -C -S")}
case $state in
  command) _describe command commands ;;
  argument)
    case $words[1] in
{cases}
    esac
    ;;
esac
"""


def fish(program):
    def quoted(text):
        return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"

    def lines(options, condition):
        for option in options:
            names = " ".join(f"-l {n[2:]}" if n.startswith("--") else f"-s {n[1:]}" for n in option["names"])
            value = "" if not option["value"] else " -r -F" if takes_file(option) else " -x"
            if option["words"]:
                value += f" -a {quoted(' '.join(option['words']))}"
            yield f"complete -c ktmp4 -n {condition} {names}{value} -d {quoted(option['text'])}"

    text = ["# Completion of ktmp4 for fish.", "complete -c ktmp4 -n __fish_use_subcommand -f"]
    text += lines(switches(program), "__fish_use_subcommand")
    for command in program["commands"]:
        text.append(f"complete -c ktmp4 -n __fish_use_subcommand -a {command['name']} -d {quoted(command['text'])}")
        text += lines(switches(command), f"'__fish_seen_subcommand_from {command['name']}'")
    return "\n".join(text) + "\n"


main()
