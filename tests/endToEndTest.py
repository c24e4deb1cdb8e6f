"""The console against the simulated camera over the real socket. Arguments: folder of the programs, then unittest's."""
import concurrent.futures
import copy
import json
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


class Camera(unittest.TestCase):
    """A sample card in a folder of its own, with a simulated camera that can be stopped and started."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.card = self.folder / "card"
        self.environment = dict(os.environ, MXIPC_DIR=str(self.folder / "ipc"), TEST_CARD=f"{self.card}/")
        self.simulator = None
        subprocess.run([SIMULATOR, "--make-card", "--card", self.card], check=True, stdout=subprocess.DEVNULL)

    def tearDown(self):
        self.stop(signal.SIGTERM)
        shutil.rmtree(self.folder)

    def start(self, *options):
        self.simulator = subprocess.Popen([SIMULATOR, "--card", self.card, *options], env=self.environment,
                                          stdout=subprocess.PIPE)
        self.assertIn(b"serving", self.simulator.stdout.readline())

    def stop(self, signal_number=signal.SIGKILL):
        if self.simulator:
            self.simulator.send_signal(signal_number)
            status = self.simulator.wait()
            self.simulator.stdout.close()
            self.assertEqual(status, 0 if signal_number == signal.SIGTERM else -signal_number)
            self.simulator = None

    def open(self, *words):
        return subprocess.Popen([CONSOLE, *words], env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL)

    def console(self, *words):
        """Status and output of a run."""
        run = self.open(*words)
        output = run.communicate(timeout=100)[0]
        return run.returncode, output

    def printed(self, *words):
        status, output = self.console(*words)
        self.assertEqual(status, 0, output)
        return output.decode()


class Commands(Camera):
    def test_output_that_goes_nowhere_is_taken_for_good(self):
        self.start()
        for words in (["ci", *FILE], ["list"], ["help"]):
            with open("/dev/full", "w") as full:
                run = subprocess.run([CONSOLE, *words], env=self.environment, stdout=full, stderr=subprocess.PIPE)
            self.assertEqual((run.returncode, run.stderr), (255, b"standard output could not be written\n"))

    def test_file_command_takes_the_wrong_content_types(self):
        self.start()
        taken = {"mi": set(range(12)), "gumibyfile": set(range(12)), "vsi": {0, 1, 2, 3}, "gci": {1, 2, 5, 6, 8, 10}}
        types = set()
        for path in sorted(self.card.glob("DCIM/*/*[!V]")):
            file = (path.parent.name, path.name)
            status, output = self.console("ci", *file)
            if status == 0:  # a file that an item is named by
                content_type = int(output.split(b"content_type ")[1].split()[0])
                types.add(content_type)
                for word, its_types in taken.items():
                    expected = 0 if content_type in its_types else 255
                    self.assertEqual(self.console(word, *file)[0], expected, (word, file))
        self.assertEqual(types, set(range(12)))


class Documents(Camera):
    def members(self, entry):
        """Files that an entry stands for."""
        if "g" not in entry:
            return [entry["n"]]
        return [f"{entry['n'][0]}{int(entry['g']):03}{number:04}.JPG"
                for number in range(int(entry["b"]), int(entry["l"]) + 1) if str(number) not in entry["m"]]

    def test_list_that_lacks_a_file_or_has_one_twice(self):
        self.start()
        listed = []
        answer = self.printed("pl", "99", "99", "0", "14")
        for block in json.loads(answer.partition("\r\n\r\n")[2])["media"]:
            for entry in block["fs"]:
                paths = [self.card / "DCIM" / block["d"] / name for name in self.members(entry)]
                states = [path.stat() for path in paths]
                self.assertEqual((int(entry["s"]), int(entry["mod"])),
                                 (sum(state.st_size for state in states), int(states[0].st_mtime)), entry)
                listed += [path for path in paths if path.suffix != ".MET"]
        raw_photo = self.card / "DCIM/100MOXEL/MOXE0007.JPG"
        media_files = [*self.card.glob("DCIM/[1-9]??M*/*.JPG"), *self.card.glob("DCIM/[1-9]??M*/*.MP4")]
        self.assertEqual(sorted([raw_photo, *listed]), sorted(media_files))


class Breakdown(Camera):
    """Commands against cameras that break down or answer wrongly at each exchange, each with a card of its own."""
    COMMANDS = [("list", "fields=n,what"), ("pl", "99", "2", "0", "14", "0"), ("cl", "9", "0"), ("cc", "3"),
                ("mus", *FILE, "9")]
    STAY = ("MOXE0001.MP4", "MOXE0003.MP4", "MX010003.MP4", "G0010001.JPG", "G0010003.JPG", "SESS0012.MET")
    MOMENTS = ("before-reading", "after-reading", "mid-answer", "after-answer")

    def setUp(self):
        super().setUp()
        self.small = shutil.copytree(self.card, self.folder / "small")
        for path in self.small.glob("DCIM/*/*"):
            if path.parent.name > "101MOXEL" or path.name not in self.STAY:
                path.unlink()
        (self.small / "catalogue.json").write_text('{"101MOXEL/SESS0012.MET": {"kind": "metadata_session"}}')
        self.exchanges = {}
        self.whole = {words: self.met(words, False) for words in self.COMMANDS}
        self.exchanges = {words: self.met((*words, "1", "6"), False)[1].count(b"Snd :") for words in self.COMMANDS}
        for words in self.COMMANDS:
            self.assertGreater(self.exchanges[words], 0, words)
            self.assertEqual(self.whole[words][0], 1 if words[0] == "cl" else 0, words)

    def die(self, options):
        """Stops the camera. One that dies by itself must have done so before."""
        if "--die" in options:
            self.simulator.wait(timeout=8)
        self.stop()

    def met(self, words, returns, *options):
        """Status and output of a run that meets such a camera, which may return sound, and the upload status left."""
        camera = copy.copy(self)
        camera.folder = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        camera.card = shutil.copytree(self.card if words[0] == "list" else self.small, camera.folder / "card")
        camera.environment = dict(self.environment, MXIPC_DIR=str(camera.folder / "ipc"), MXIPC_TIMEOUT_MS="100",
                                  TEST_CARD=f"{camera.card}/")
        camera.start(*options)
        run = camera.open(*words)
        if returns:
            time.sleep(0.2)
            camera.die(options)
            camera.start()
        # Each exchange is tried 11 times, waits 100 ms for its answer and 100 ms before it is tried again.
        output = run.communicate(timeout=8 + 11 * 0.2 * self.exchanges.get(words, 1))[0]
        camera.die(options if not returns else ())
        camera.start()
        left = camera.printed("ci", *FILE).partition("uploadStatus ")[2]
        camera.stop()
        return run.returncode, re.sub(rb'(?<="id":")[0-9]+|took [0-9:]+', b"", output), left

    def is_fair(self, words, result, must_be_whole):
        """`cl` goes on after a call that failed, and prints fewer items; the others are whole or refused."""
        status, output, left = result
        if must_be_whole or result == self.whole[words]:
            return result == self.whole[words]
        if words[0] == "cl":
            told = re.search(rb"dbGetCAHSessionFileList ret:(-?[0-9]+).*\nreturn \1\n\Z", output, re.S)
            whole, printed = (iter(re.findall(b"^0x.*", text, re.M)) for text in (self.whole[words][1], output))
            return told and status == int(told[1]) % 256 and all(line in whole for line in printed)
        end = REFUSED if words[0] in ("list", "pl") else re.compile(b".*return(ed)? -1\n", re.S)
        return status == 255 and end.fullmatch(output) is not None

    def judge(self, cases, must_be_whole):
        with concurrent.futures.ThreadPoolExecutor(10) as pool:
            for case, result in zip(cases, pool.map(lambda case: self.met(*case), cases)):
                with self.subTest(case):
                    self.assertTrue(self.is_fair(case[0], result, must_be_whole(*case)), result)

    def test_run_against_a_database_that_ends(self):
        cases = [(words, returns, f"--{end}", f"{moment}:{number}")
                 for words in self.COMMANDS for number in range(1, self.exchanges[words] + 1)
                 for end in ("die", "silence") for moment in self.MOMENTS for returns in (True, False)]
        # An exchange under way is made again, a document from its start; a walk finds no channel and ends.
        self.judge(cases, lambda words, returns, _, moment: moment == f"after-answer:{self.exchanges[words]}" or (
            returns and (words[0] in ("list", "pl") or "reading" in moment)))

    def test_answer_that_is_taken_for_good_or_for_another(self):
        cases = [(words, False, *fault.format(number).split())
                 for words in self.COMMANDS for number in range(1, self.exchanges[words] + 1)
                 for fault in ("--empty @{}", "--too-long @{}", "--twice @{}", "--delay 250:@{}")]
        # What is no answer is asked for again; a message of no bytes is one, and ends what is no document.
        self.judge(cases, lambda words, returns, fault, number: fault != "--empty" or words[0] in ("list", "pl"))


class Replay(Camera):
    COMMANDS = [("list", ""), ("vid", *FILE), ("cc", "10")]

    def outputs(self):
        return [re.sub("took [0-9:]+", "", self.printed(*words, "1", "2")) for words in self.COMMANDS]

    def test_replay_that_prints_something_else(self):
        self.start()
        expected = self.outputs()
        recording = self.folder / "recording"
        recording.write_text("".join(self.printed(*words, "1", "6") for words in self.COMMANDS))
        self.stop()
        self.start("--replay", recording)
        for _ in range(2):
            self.assertEqual(self.outputs(), expected)
        self.assertEqual(self.console("ci", *FILE)[0], 255, "answered without a record of it")


if __name__ == "__main__":
    unittest.main(verbosity=2)
