"""
Runs the commands that the documents show and compares what they print. Arguments: folder of the programs, root of the
project, then unittest's. In place of the folder the script `run`: it runs README's commands alone, on /tmp/fuse_d.

A console block, in a man page one between .EX and .EE, holds lines "$ command", each with its output behind it; one
that ends in a backslash goes on in the next line. Words behind a prompt are what is typed. A block with a name behind its
language, or behind .EX, is a file. The commands of a document run in one shell, in a folder with a card, a port and a
channel of their own in place of those shown. EQUAL has what need not be printed as it is shown; all other bytes count.
"""
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest

PROGRAMS, ROOT = (pathlib.Path(sys.argv.pop(1)).resolve() for _ in range(2))
SCRIPT = PROGRAMS.is_file()
CARD, PORT, IPC = "/tmp/fuse_d", "8080", "/run/user/1000/mxipc"
SERVE = [(f"rtosMediaDBSim --card {CARD} --make-card", ""), (f"rtosMediaDBSim --card {CARD} &", "serving")]
FUNCTIONS = r"""
trap 'kill $(jobs -p); wait' EXIT
mark() { local status=$?; printf '\001\n'; return $status; }
size() { stat -c %s output; }
has_printed() { [ "$(size)" -gt "$before" ]; }
listens() { grep -q "$(printf ':%04X 00000000:0000 0A' 8080)" /proc/net/tcp; }
within_10_s() { for _ in {1..500}; do "$1" && return; sleep 0.02; done; }
"""
EQUAL = [(r"^Created .*,", "Created DATE,"), (r'"id":"[0-9]+"', '"id":""'), (r"took [0-9:]+", "took"),
         (r"^bash: line [0-9]+: +[0-9]+ Killed .*\n?", ""), ("\r|\033\\[[0-9]*m|\n+\\Z", "")]
PROMPT = re.compile(r"^(> |Enter [^\n]*?: )(.*)\n", re.M)


def commands(text):
    """Pairs of a command and its output."""
    return [pair for block in re.findall(r"^```console\n(.*?)^```$", text, re.M | re.S)
            for pair in re.findall(r"^\$ ((?:.*\\\n)*.*)\n((?:(?!\$ ).*\n)*)", block, re.M)]


def step(command, output):
    """A command as a step of the script, which goes on when what it has started in the background is there."""
    if PROMPT.search(output):
        command += "".join([" <<'TYPED'\n", *(f"{typed}\n" for _, typed in PROMPT.findall(output)), "TYPED"])
    if command.endswith("&"):
        command = f"before=$(size)\n{command}\nwithin_10_s " + ("has_printed" if output else "listens")
    return f"{command}\nmark\n"


def run(text):
    """What each command prints when those of a document are run."""
    with tempfile.TemporaryDirectory() as folder:
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = str(free.getsockname()[1])
        os.mkdir(f"{folder}/bin")
        for program, name in (("consoleAtCard", "mxMediaRTOSDBTestApp"), ("rtosMediaDBSim", "rtosMediaDBSim")):
            os.symlink(PROGRAMS / program, f"{folder}/bin/{name}")
        for name, content in re.findall(r"^```[a-z]+ (\w[\w.]*)\n(.*?)^```$", text, re.M | re.S):
            pathlib.Path(folder, name).write_text(content)
            pathlib.Path(folder, name).chmod(0o755)
        before = SERVE if "$ ./run" in text and not SCRIPT else []
        script = FUNCTIONS + "".join(step(*pair) for pair in [*before, *commands(text)])
        environment = dict(os.environ, PATH=f"{folder}/bin:{os.environ['PATH']}", MXIPC_DIR=f"{folder}/ipc",
                           TEST_CARD=f"{folder}/card/")
        script = script.replace(CARD, f"{folder}/card").replace(PORT, port)
        script = script.replace("./run", str(PROGRAMS if SCRIPT else "mxMediaRTOSDBTestApp"))
        with open(f"{folder}/output", "w+", newline="") as output:
            subprocess.run(["timeout", "300", "bash", "-c", script], cwd=folder, env=environment,
                           stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)
            output.seek(0)
            printed = output.read().replace(f"{folder}/card", CARD).replace(f"{folder}/ipc", IPC)
        return printed.split("\1\n")[len(before):-1]


class Documents(unittest.TestCase):
    def test_document_shows_what_is_not_printed(self):
        folders = [] if SCRIPT else [*ROOT.glob("*/README.md"), *ROOT.glob("docs/*.*"), *ROOT.glob("C*.md")]
        for document in [ROOT / "README.md", *folders]:
            text = document.read_text().replace(".EX\n", "```console\n").replace(".EX ", "```json ")
            text = text.replace(".EE\n", "```\n").replace("\\-", "-")
            shown = commands(text)
            self.assertEqual(len(re.findall(r"^ *\$ ", text, re.M)), len(shown), f"{document.name}: one is not run")
            printed = run(text) if shown else []
            self.assertEqual(len(printed), len(shown), f"{document.name}: {printed[-1:]}")
            for (command, output), actual in zip(shown, printed):
                texts = PROMPT.sub(r"\1", output), actual
                for pattern, same in EQUAL:
                    texts = [re.sub(pattern, same, text, flags=re.M) for text in texts]
                with self.subTest(document=document.name, command=command):
                    self.assertEqual(*texts)


if __name__ == "__main__":
    unittest.main(verbosity=2)
