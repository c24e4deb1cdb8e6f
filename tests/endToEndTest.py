"""The console against the simulated camera over the real socket. Arguments: folder of the programs, then unittest's."""
import atexit
import concurrent.futures
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAMS = pathlib.Path(sys.argv.pop(1))
CONSOLE, SIMULATOR = PROGRAMS / "consoleAtCard", PROGRAMS / "rtosMediaDBSim"
FILE = ("100MOXEL", "MOXE0001.MP4")
REFUSED = re.compile(rb'HTTP/1.1 500 \r\nContent-Type: application/json\r\n\r\n'
                     rb'{"id":"",("unsupported_fields":"what",)?"media":\[]}(]})?\r\n\nreturn -1\n')
COMMANDS = [("list", "fields=n,what"), ("pl", "99", "2", "0", "14", "0"), ("cl", "9", "0"), ("cc", "3"),
            ("mus", *FILE, "9")]
DOCUMENTS = ("list", "pl")
# How a command that failed ends, and its lines that need not be in the whole run.
CL_ENDS, ENDS = rb"dbGetCAHSessionFileList ret:(-?[0-9]+).*\nreturn \1\n\Z", rb"return(?:ed)? (-1)\n\Z"
OWN = re.compile(rb"return(ed)? -|db\w+ ret:|total items(=|: 0)|calling|sessionId=0x0|ASSERT|changed|was not found"
                 rb"|\x1b\[0m|^\Z")
STAY = ("MOXE0001.MP4", "MOXE0003.MP4", "MX010003.MP4", "G0010001.JPG", "G0010003.JPG", "SESS0012.MET")
# Whether a sound camera returns, and how and where the first one breaks down or answers wrongly.
FAULTS = [(returns, f"--{end}", moment + ":{}") for returns in (True, False) for end in ("die", "silence")
          for moment in ("before-reading", "after-reading", "mid-answer", "after-answer")]
FAULTS += [(False, "--empty", "@{}"), (False, "--too-long", "@{}"), (False, "--twice", "@{}"),
           (False, "--delay", "250:@{}")]


class Camera:
    """A simulated camera with a card and a channel of its own."""

    def __init__(self, folder, card, *options):
        home = tempfile.mkdtemp(dir=folder)
        self.card = shutil.copytree(card, f"{home}/card")
        self.environment = dict(os.environ, MXIPC_DIR=f"{home}/ipc", MXIPC_TIMEOUT_MS="100", TEST_CARD=f"{home}/card/")
        self.start(*options)

    def start(self, *options):
        self.dies = "--die" in options
        self.process = subprocess.Popen([SIMULATOR, "--card", self.card, *options], env=self.environment,
                                        stdout=subprocess.PIPE)
        atexit.register(self.process.kill)
        assert b"serving" in self.process.stdout.readline()

    def end(self):
        """Ends the camera. One that dies by itself must have done so before, and no other."""
        assert not self.dies or self.process.wait(timeout=8)
        assert self.dies == (self.process.poll() is not None)
        self.process.kill()
        self.process.communicate()
        assert self.process.returncode == -signal.SIGKILL

    def open(self, *words):
        return subprocess.Popen([CONSOLE, *words], env=self.environment, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL)


class Console(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.card, self.small = self.folder / "card", self.folder / "small"
        subprocess.run([SIMULATOR, "--make-card", "--card", self.card], check=True, stdout=subprocess.DEVNULL)
        shutil.copytree(self.card, self.small)
        for path in self.small.glob("DCIM/*/*"):
            if path.parent.name > "101MOXEL" or path.name not in STAY:
                path.unlink()
        (self.small / "catalogue.json").write_text('{"101MOXEL/SESS0012.MET": {"kind": "metadata_session"}}')

    def met(self, words, returns, *options):
        """Status and output of a run that meets such a camera, and the upload status left."""
        camera = Camera(self.folder, self.card if words[0] == "list" else self.small, *options)
        run = camera.open(*words)
        if returns:
            time.sleep(0.2)
            camera.end()
            camera.start()
        # Each exchange is tried 11 times, waits 100 ms for its answer and 100 ms before it is tried again.
        output = run.communicate(timeout=8 + 11 * 0.2 * self.exchanges.get(words, 1))[0]
        answered = camera.open("ci", *FILE).communicate()[0] if "--silence" in options and not returns else b""
        camera.end()
        assert b"uploadStatus" not in answered, "a silent camera answers"
        camera.start()
        left = re.search(b"uploadStatus ([0-9]+)", camera.open("ci", *FILE).communicate()[0])[1]
        camera.end()
        return run.returncode, re.sub(rb'(?<="id":")[0-9]+|took [0-9:]+', b"", output), left

    def must_be_whole(self, words, returns, fault, where):
        if fault in ("--die", "--silence"):
            # An exchange under way is made again, a document from its start; a walk finds no channel and ends.
            is_met_again = returns and (words[0] in DOCUMENTS or "reading" in where)
            last = f"after-answer:{self.exchanges[words]}"
            return is_met_again or where == last or (words[0] == "mus" and "mid-answer" in where)
        # What is no answer is asked for again; a message of no bytes is one, and ends a walk.
        return fault != "--empty" or words[0] in (*DOCUMENTS, "mus")

    def is_fair(self, words, *fault, result):
        """Documents are whole or refused. The others end with the call that failed, `cl` goes on."""
        status, output, _ = result
        half = not fault[0] and fault[2] == f"mid-answer:{self.exchanges[words]}"  # of the last answer, which is none
        is_whole = result == self.whole[words]
        if self.must_be_whole(words, *fault) or (is_whole and not (half and words[0] in DOCUMENTS)):
            return is_whole
        if words[0] in DOCUMENTS:
            return status == 255 and REFUSED.fullmatch(output)
        told = re.search(CL_ENDS if words[0] == "cl" else ENDS, output, re.S)
        whole = iter(self.whole[words][1].splitlines())
        lines = (line for line in output.splitlines() if not OWN.search(line))
        return told and status == int(told[1]) % 256 and all(line in whole for line in lines)

    def test_answer_of_a_camera_that_breaks_down_is_taken_for_good_or_for_another(self):
        self.exchanges = {}
        self.whole = {words: self.met(words, False) for words in COMMANDS}
        self.exchanges = {words: self.met((*words, "1", "6"), False)[1].count(b"Snd :") for words in COMMANDS}
        self.assertEqual([self.whole[words][0] for words in COMMANDS], [0, 0, 1, 0, 0])
        self.assertGreater(min(self.exchanges.values()), 0)
        self.assertEqual(self.whole[COMMANDS[-1]][2], b"9", "an acknowledged status is lost")
        for fault, where in (("--empty", "@1"), ("--too-long", "@1"), ("--delay", "250:@1")):
            sent = self.met((*COMMANDS[0], "1", "6"), False, fault, where)[1].count(b"Snd :")
            self.assertGreater(sent, self.exchanges[COMMANDS[0]], f"{fault} does nothing")
        cases = [(words, returns, fault, where.format(number)) for words in COMMANDS
                 for number in range(1, self.exchanges[words] + 1) for returns, fault, where in FAULTS]
        with concurrent.futures.ThreadPoolExecutor(10) as pool:
            for case, result in zip(cases, pool.map(lambda case: self.met(*case), cases)):
                with self.subTest(case):
                    self.assertTrue(self.is_fair(*case, result=result), result)

    def test_replay_prints_something_else(self):
        words = [("list", ""), ("vid", *FILE), ("cc", "10")]
        camera = Camera(self.folder, self.card, "--drop", "9")

        def printed(*more):
            return [re.sub(b"took [0-9:]+", b"", camera.open(*each, "1", *more).communicate()[0]) for each in words]
        expected, recording = printed("2"), self.folder / "recording"
        self.assertRegex(b"".join(expected), rb"(?s)\AHTTP/1.1 200 .*HTTP/1.1 200 (?!.*return(ed)? -1\n).*4...Done!")
        recording.write_bytes(b"".join(printed("6")))
        camera.end()
        camera.start("--replay", recording)
        self.assertEqual([printed("2"), printed("2")], [expected, expected])
        camera.end()


if __name__ == "__main__":
    unittest.main(verbosity=2)
