"""The console against the simulated camera over the real socket. Arguments: folder of the programs, then unittest's."""
import concurrent.futures
import copy
import ctypes
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
EMPTY = b'"media":[]}'


class Camera(unittest.TestCase):
    """A sample card in a folder of its own, with a simulated camera that can be stopped and started."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.card = self.folder / "card"
        self.environment = dict(os.environ, MXIPC_DIR=str(self.folder / "ipc"),
                                TEST_CARD=f"{self.card}/")
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

    def console(self, *words, typed=b""):
        """Status and output of a run."""
        run = self.open(*words)
        output = run.communicate(typed, timeout=100)[0]
        return run.returncode, output

    def printed(self, *words):
        status, output = self.console(*words)
        self.assertEqual(status, 0, output)
        return output.decode()

    def document(self, *words):
        head, _, body = self.printed(*words).partition("\r\n\r\n")
        self.assertEqual(head, "HTTP/1.1 200 \r\nContent-Type: application/json")
        return json.loads(body)

    def media_files(self):
        """Media files on the card, as "folder/file"."""
        return {f"{path.parent.name}/{path.name}" for path in self.card.glob("DCIM/[1-9]??M*/*.*")
                if path.suffix in (".JPG", ".MP4")}


class Commands(Camera):
    def test_content_info_is_what_stat_says(self):
        self.start()
        state = (self.card / "DCIM" / "/".join(FILE)).stat()
        lines = [line.strip() for line in self.printed("ci", *FILE).splitlines()]
        for line in (f"size {state.st_size}", f"modification_time {int(state.st_mtime)}"):
            self.assertIn(line, lines)

    def test_file_commands_serve_every_content_type(self):
        self.start()
        types = set()
        for path in sorted(self.card.glob("DCIM/*/*[!V]")):
            file = (path.parent.name, path.name)
            status, output = self.console("ci", *file)
            if status == 0:  # a file that an item is named by
                content_type = int(output.split(b"content_type ")[1].split()[0])
                types.add(content_type)
                served = {"mi": True, "gumibyfile": True, "vsi": content_type < 4,
                          "gci": content_type in (1, 2, 5, 6, 8, 10)}
                for word, expected in served.items():
                    self.assertEqual(self.console(word, *file)[0], 0 if expected else 255, (word, file))
        self.assertEqual(types, set(range(12)))
        gumi = self.printed("gumibyfile", *FILE).split("Received GUMI: ")[1][:32]
        typed = f"filebygumi\n{gumi}\n\nexit\n".encode()
        self.assertIn(b"Received file_name : 100MOXEL/MOXE0001.MP4\n", self.console(typed=typed)[1])
        self.assertIn("BIN 11: COUNT 0\n", self.printed("hist"))
        self.printed("mus", *FILE, "11")
        self.assertIn("BIN 11: COUNT 1\n", self.printed("hist"))

    def test_database_that_restarts_between_two_prompts_is_found(self):
        self.start()
        run = self.open()
        ask = b"ci\n" + b"\n".join(word.encode() for word in FILE) + b"\n\n"
        run.stdin.write(ask)
        run.stdin.flush()
        while b"uploadStatus" not in run.stdout.readline():
            pass
        self.stop()
        self.start()
        output = run.communicate(ask + b"exit\n", timeout=20)[0]
        self.assertEqual((run.returncode, output.count(b"uploadStatus")), (0, 1))

    def test_exit_sends_its_message(self):
        library = ctypes.CDLL(None, use_errno=True)
        attributes = (ctypes.c_long * 8)(0, 2, 2048)
        queue = library.mq_open(b"/to_DB", os.O_RDWR | os.O_CREAT | os.O_NONBLOCK, 0o600, attributes)
        if queue < 0:
            self.fail("no message queue can be made")
        try:
            self.assertEqual(self.console(typed=b"exit\n")[0], 0)
            buffer = ctypes.create_string_buffer(2048)
            self.assertEqual(library.mq_receive(queue, buffer, 2048, None), 6)
            self.assertEqual(buffer.raw[:6], b"exit\n\0")
            self.assertEqual(self.console("exit"), (0, b""))
            self.assertEqual(library.mq_receive(queue, buffer, 2048, None), -1)
        finally:
            library.mq_close(queue)
            library.mq_unlink(b"/to_DB")

    def test_acknowledged_upload_status_survives_a_kill(self):
        self.start("--delay", "20")
        run = self.open("mus", *FILE, "9", "20")
        time.sleep(0.25)
        self.stop()
        self.start()
        self.assertEqual((run.communicate(timeout=20) and run.returncode), 0)
        self.assertIn("uploadStatus 9\n", self.printed("ci", *FILE))


class Documents(Camera):
    def members(self, entry):
        """Files that an entry stands for."""
        if "g" not in entry:
            return [entry["n"]]
        names = [f"{entry['n'][0]}{int(entry['g']):03}{number:04}.JPG"
                 for number in range(int(entry["b"]), int(entry["l"]) + 1) if str(number) not in entry["m"]]
        return names

    def listed(self, document):
        return [f"{block['d']}/{name}" for block in document["media"] for entry in block["fs"]
                for name in self.members(entry) if not name.endswith(".MET")]

    def test_lists_name_every_file_once(self):
        self.start()
        raw_photos = {"100MOXEL/MOXE0007.JPG"}
        document = self.document("pl", "99", "10", "0", "14")
        for block in document["media"]:
            for entry in block["fs"]:
                states = [(self.card / "DCIM" / block["d"] / name).stat() for name in self.members(entry)]
                self.assertEqual((int(entry["s"]), int(entry["mod"])),
                                 (sum(state.st_size for state in states), int(states[0].st_mtime)), entry)
        with_chapters = self.listed(document)
        self.assertEqual(sorted(with_chapters), sorted(self.media_files() - raw_photos))
        listed = self.listed(self.document("list"))
        self.assertEqual(len(listed), len(set(listed)))
        self.assertLess(set(listed), set(with_chapters))

    def test_faults_give_the_whole_list_or_none(self):
        self.environment["MXIPC_TIMEOUT_MS"] = "300"
        self.start()
        calls = [("list",), ("pl", "99", "10", "0", "2")]
        whole = [self.printed(*words).encode() for words in calls]
        self.stop()
        for fault in ("--busy", "--drop", "--truncate"):
            self.start(fault, "3")
            for words, expected in zip(calls, whole):
                status, output = self.console(*words)
                failed = status == 255 and output.startswith(b"HTTP/1.1 500 ") and EMPTY in output
                self.assertTrue(failed or (status, output) == (0, expected), (fault, words, output))
            self.stop()


class Check(Camera):
    def check(self, status, message):
        result, output = self.console("cc", "10")
        self.assertEqual(result, status, output)
        self.assertIn(message, output)

    def test_card_and_database_that_differ(self):
        """A database that reads another card is one that has missed what happened to this one."""
        self.start()
        self.check(0, b"Done! Scandir took 00:00:00\n\n")
        other = self.folder / "other"
        shutil.copytree(self.card, other)
        self.environment["TEST_CARD"] = f"{other}/"
        extra = other / "DCIM/100MOXEL/MOXE9999.JPG"
        extra.write_text("x")
        self.check(0, b"\033[33mmxml_scandir returned a file (100MOXEL/MOXE9999.JPG) that is not in the global file"
                   b" map.\n\033[0m")
        extra.rename(other / "DCIM/100MOXEL/notes.txt")
        (other / "DCIM/100MOXEL/MOXE0002.MP4").unlink()
        self.check(255, b"\033[31mASSERT it->second == 3 failed\nGlobal filemap contains file 100MOXEL/MOXE0002.MP4"
                   b" that was not returned by mxml_scandir\n\033[0m\nreturn -1\n")


class Breakdown(Camera):
    """Commands against cameras that break down or answer wrongly at each exchange, each with a card of its own."""
    COMMANDS = [("list", "f=gumi,what"), ("pl", "99", "2", "0", "14", "0"), ("cl", "9", "0"), ("cc", "3"),
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
        self.whole = {words: self.met(words, False) for words in self.COMMANDS}
        self.exchanges = {words: self.met((*words, "1", "6"), False)[1].count(b"Snd :") for words in self.COMMANDS}

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
            camera.end()
            camera.start()
        output = run.communicate(timeout=100)[0]
        camera.end()
        camera.start()
        left = camera.console("ci", *FILE)[1].partition(b"uploadStatus ")[2]
        camera.end()
        return run.returncode, re.sub(rb'"id":"[0-9]+"|took [0-9:]+', b"", output), left

    def end(self):
        self.simulator.kill()
        self.simulator.wait()
        self.simulator.stdout.close()
        self.simulator = None

    def is_fair(self, words, result, must_be_whole):
        """`cl` goes on after a call that failed, and prints fewer items; the others are whole or refused."""
        status, output, left = result
        if must_be_whole or result == self.whole[words]:
            return result == self.whole[words]
        if words[0] == "cl":
            return set(re.findall(b"^0x.*", output, re.M)) <= set(re.findall(b"^0x.*", self.whole[words][1], re.M))
        is_document = output.startswith(b"HTTP/1.1 500 ") and EMPTY in output
        return status == 255 and output.endswith(b"return -1\n") and (is_document or words[0] not in ("list", "pl"))

    def judge(self, cases, must_be_whole):
        with concurrent.futures.ThreadPoolExecutor(10) as pool:
            for case, result in zip(cases, pool.map(lambda case: self.met(*case), cases)):
                with self.subTest(case):
                    self.assertTrue(self.is_fair(case[0], result, must_be_whole(*case)), result)

    def test_run_against_a_database_that_ends(self):
        cases = [(words, returns, f"--{end}", f"{moment}:{number}")
                 for words in self.COMMANDS for number in range(1, self.exchanges[words] + 1)
                 for end in ("die", "silence") for moment in self.MOMENTS for returns in (True, False)]
        self.assertGreater(len(cases), 300)
        # An exchange under way is made again, a document from its start; a walk finds no channel and ends.
        self.judge(cases, lambda words, returns, _, moment: moment == f"after-answer:{self.exchanges[words]}" or (
            returns and (words[0] in ("list", "pl") or "reading" in moment)))

    def test_answer_that_is_taken_for_good_or_for_another(self):
        cases = [(words, False, *fault.format(every).split()) for words in self.COMMANDS for every in (1, 2, 3, 5, 8)
                 for fault in ("--empty {}", "--too-long {}", "--twice {}", "--delay 150:{}")]
        self.judge(cases, lambda words, returns, fault, every: fault == "--twice")


class Replay(Camera):
    COMMANDS = [("list", ""), ("vid", *FILE), ("cc", "10")]

    def outputs(self):
        return [self.printed(*words, "1", "2") for words in self.COMMANDS]

    def test_replay_that_prints_something_else(self):
        self.start()
        expected = self.outputs()
        recording = self.folder / "recording"
        recording.write_text("".join(self.printed(*words, "1", "6") for words in self.COMMANDS))
        self.stop()
        self.start("--replay", recording)
        for _ in range(2):
            self.assertEqual(self.outputs(), expected)


if __name__ == "__main__":
    unittest.main(verbosity=2)
