#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Types into a shell, as at a terminal, and looks what a press of the tabulator makes of it.

    completion.py bash|zsh|fish COMMAND
"""
import os
import pathlib
import pty
import shutil
import sys
import tempfile
import threading
import time

FILES = pathlib.Path(__file__).resolve().parents[2] / "contrib" / "completions"

# What is typed, and what stands there after the tabulator.
CASES = [
    ("vantorel sma", "vantorel smart "),
    ("vantorel db sea", "vantorel db search "),
    ("vantorel help db li", "vantorel help db lint "),
    ("vantorel smart --bri", "vantorel smart --brief "),
    ("vantorel stats --mach", "vantorel stats --machine "),
    ("vantorel --machine sample:la", "vantorel --machine sample:laptop "),
    ("vantorel --machine=sample:la", "vantorel --machine=sample:laptop "),
    ("vantorel --machine sample:tower smart disk0 disk6", "vantorel --machine sample:tower smart disk0 disk6 "),
    ("vantorel --machine=sample:laptop errors di", "vantorel --machine=sample:laptop errors disk0 "),
    ("vantorel --machine 'own machine' errors di", "vantorel --machine 'own machine' errors disk0 "),
    ("vantorel --machine=record", "vantorel --machine=recording.json "),
    ("vantorel compress -a lzm", "vantorel compress -a lzma "),
    ("vantorel diff old.van", "vantorel diff old.vantorel "),
    ("vantorel show old.vantorel --extract ol", "vantorel show old.vantorel --extract older/"),
    ("vantorel watch --for 1", "vantorel watch --for 1"),
]

SHELLS = {
    "bash": (["bash", "--noprofile", "--norc", "-i"], """
        . /usr/share/bash-completion/bash_completion; . {files}/vantorel.bash
        _show() {{ printf '%s\\n' "$READLINE_LINE" >>{out}; READLINE_LINE=; }}
        bind 'set enable-bracketed-paste off'; bind -x '"\\C-o": _show'"""),
    "zsh": (["zsh", "-f", "-i"], """
        fpath=({files} $fpath); autoload -Uz compinit; compinit -D -u; unsetopt auto_remove_slash
        show() {{ print -r -- "$BUFFER" >>{out}; BUFFER= }}; zle -N show; bindkey '^O' show"""),
    "fish": (["fish", "--no-config", "-i"], """
        source {files}/vantorel.fish
        function show; commandline >>{out}; commandline ''; end; bind \\co show"""),
}


class Shell:
    def __init__(self, name, folder, command):
        arguments, start = SHELLS[name]
        self._out = folder / "lines"
        self._screen = b""
        child, self._terminal = pty.fork()
        if child == 0:
            (folder / "bin").mkdir()
            (folder / "bin" / "vantorel").symlink_to(command)
            os.chdir(folder)
            os.environ |= {"PATH": f"{folder}/bin:{os.environ['PATH']}", "HOME": str(folder), "TERM": "xterm"}
            os.execvp(arguments[0], arguments)
        threading.Thread(target=self._drain, daemon=True).start()
        for line in start.format(files=FILES, out=self._out).strip().splitlines():
            self._type(line.strip() + "\r")

    def _drain(self):
        try:
            while part := os.read(self._terminal, 65536):
                self._screen += part
        except OSError:
            pass

    def _type(self, text):
        os.write(self._terminal, text.encode())

    def completed(self, line, count):
        """The line after the tabulator, the so manieth that is asked for."""
        self._type(line + "\t\x0f")
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline:
            lines = self._out.read_text().split("\n") if self._out.exists() else []
            if len(lines) > count:
                return lines[count - 1]
            time.sleep(0.01)
        return f"nothing in 20 seconds; the screen: {self._screen.decode(errors='replace')[-2000:]}"


def main():
    name, command = sys.argv[1], os.path.abspath(sys.argv[2])
    if not shutil.which(name) or name == "bash" and not os.path.exists("/usr/share/bash-completion/bash_completion"):
        print(f"skipped: {name} is not installed, or without completion; scripts/setup --peers installs it")
        sys.exit(1 if os.environ.get("CI") == "true" else 77)
    wrong = 0
    with tempfile.TemporaryDirectory(prefix="vantorel-completion-") as folder:
        folder = pathlib.Path(folder)
        shutil.copytree(pathlib.Path(__file__).parents[2] / "samples" / "machines" / "laptop", folder / "own machine")
        (folder / "older").mkdir()
        (folder / "old.vantorel").touch()
        (folder / "recording.json").touch()
        shell = Shell(name, folder, command)
        for count, (typed, expected) in enumerate(CASES, 1):
            found = shell.completed(typed, count)
            if found != expected:
                print(f"{name}: {typed!r} became {found!r}, not {expected!r}")
                wrong += 1
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
