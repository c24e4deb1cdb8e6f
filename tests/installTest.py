"""The installed tree and the Debian package as users meet them. Arguments: a folder to work in, then unittest's."""
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE, WORK = pathlib.Path(__file__).resolve().parent.parent, pathlib.Path(sys.argv.pop(1))
BUILD, TREE, ROOT, CARD = WORK / "build", WORK / "moved/usr", WORK / "root", WORK / "card"
EXAMPLES = SOURCE / "docs/examples"
CONSOLE, SIMULATOR = TREE / "bin/mxMediaRTOSDBTestApp", TREE / "bin/rtosMediaDBSim"
HEADER = (SOURCE / "libmxMediaRTOSDB/include/mxMediaRTOSDB.h").read_text()
CALLS = set(re.findall(r"^int (\w+)\(", HEADER, re.M))
CHANNEL = tempfile.TemporaryDirectory()  # the path of a socket is short
ENVIRONMENT = dict(os.environ, MXIPC_DIR=CHANNEL.name, PATH=f"{WORK}/tools:{os.environ['PATH']}:/usr/sbin:/sbin")
PROGRAMS = {"contentInfo": ("cc", ["100MOXEL", "MOXE0001.MP4"], "type 0, 4096 bytes, 3 highlights\n"),
            "walkCatalogue": ("c++", [], "\n100MOXEL/MOXE0003.MP4 10255 bytes, 4 files\n")}
LINKS = [  # with the library in the loader's path, with the shared library, with the archive
    re.sub(r"\\fIprogram\\f[BP].c", "%s", shown).replace("\\-", "-").replace("\\e", "\\") for shown in
    re.findall(r"^\.(?:B |EX\n)(cc .*?)^\.", (SOURCE / "docs/libmxMediaRTOSDB.3").read_text(), re.M | re.S)]
LARGEST = 256 * 1024  # bytes of program and library together, stripped


def run(*words, cwd=WORK):
    done = subprocess.run([str(word) for word in words], text=True, capture_output=True, env=ENVIRONMENT, cwd=cwd)
    assert done.returncode == 0, f"{words}: status {done.returncode}\n{done.stdout}{done.stderr}"
    return done.stdout + done.stderr


def prototypes(text):
    """Those of a header or of a man page, without names of parameters and blanks."""
    text = re.sub(r'^\.BI |"', "", text.split("OWNERSHIP")[0], flags=re.M)
    return {re.sub(r"\w+\s*(?=[,)])|\s", "", call) for call in re.findall(r"^(\w+ \w+\([^;]*;)", text, re.M)}


def dynamic(path, what):
    return set(re.findall(rf"\({what}\).*\[(.*)\]", run("readelf", "-d", path)))


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        WORK.mkdir(exist_ok=True)
        for folder in ("moved", "camera", "examples", "root", "card", "tools"):
            shutil.rmtree(WORK / folder, ignore_errors=True)
        run("cmake", "--preset", "package", "-B", BUILD, cwd=SOURCE)
        run("cmake", "--build", BUILD)
        run("cmake", "--install", BUILD, "--prefix", TREE.parent / "first")
        (TREE.parent / "first").rename(TREE)  # nothing may know where it was installed
        cls.library = next(TREE.rglob("libmxMediaRTOSDB.so"))
        ENVIRONMENT["PKG_CONFIG_PATH"] = str(cls.library.parent / "pkgconfig")
        run(SIMULATOR, "--make-card", "--card", CARD)
        cls.simulator = subprocess.Popen([SIMULATOR, "--card", CARD], env=ENVIRONMENT, stdout=subprocess.PIPE)
        cls.simulator.stdout.readline()

    @classmethod
    def tearDownClass(cls):
        cls.simulator.terminate()
        cls.simulator.communicate()

    def test_other_symbols_are_exported_or_it_grows(self):
        size, archive = 0, run("nm", "-g", "--defined-only", self.library.with_suffix(".a"))
        self.assertEqual(set(re.findall(r"^\w+ \w (\w+)", archive, re.M)), CALLS)
        imported = set(re.findall(r"U (\w+)", run("nm", "-D", self.library)))
        self.assertEqual(imported & {"malloc", "realloc", "calloc", "strdup", "open_memstream", "_Znwm"}, {"calloc"})
        for path, exported in ((self.library, CALLS), (CONSOLE, {"g_logLevel", "mxErrnoStrMap"})):
            symbols = run("nm", "-D", "--defined-only", path).splitlines()
            self.assertEqual({line.split()[-1] for line in symbols}, exported)
            self.assertFalse({"libstdc++.so.6", "libgcc_s.so.1"} & dynamic(path, "NEEDED"))
            run("strip", "-o", WORK / "stripped", path)
            size += os.path.getsize(WORK / "stripped")
        self.assertEqual(dynamic(self.library, "SONAME"), {"libmxMediaRTOSDB.so.0"})
        self.assertLessEqual(size, LARGEST)

    def test_outsiders_can_not_build_against_it(self):
        run("cmake", "-S", EXAMPLES, "-B", WORK / "examples", f"-DCMAKE_PREFIX_PATH={TREE}")
        run("cmake", "--build", WORK / "examples")
        for suffix, link in zip(("Found", "", "Static"), LINKS, strict=True):
            path = self.library.parent if suffix == "Found" else ""
            for name, (compiler, words, expected) in PROGRAMS.items():
                command = link % f"{EXAMPLES}/{name}.c* -o {name}{suffix}"
                run("sh", "-c", command.replace("cc", compiler, 1))
                for built in (WORK / (name + suffix), WORK / "examples" / (name + suffix))[:1 + (suffix != "Found")]:
                    self.assertIn(expected, run("env", f"LD_LIBRARY_PATH={path}", built, *words))
                    self.assertEqual("libmxMediaRTOSDB.so.0" in dynamic(built, "NEEDED"), suffix != "Static")

    def test_stand_ins_reach_a_camera(self):
        for component in ("console", "library"):
            run("cmake", "--install", BUILD, "--prefix", WORK / "camera", "--component", component)
        installed = [path.name for path in (WORK / "camera").rglob("*") if not path.is_dir()]
        self.assertEqual(sorted(installed), ["libmxMediaRTOSDB.so.0", "libmxMediaRTOSDB.so.0.1.0",
                                             *2 * [CONSOLE.name], CONSOLE.name + ".1"])

    def test_man_page_is_badly_set_or_outdated(self):
        pages = {page.stem: page for page in TREE.rglob("man?/*")}
        self.assertEqual(set(pages), CALLS | {"libmxMediaRTOSDB", CONSOLE.name, SIMULATOR.name})
        for page in pages.values():
            self.assertEqual(run("groff", "-man", "-Tutf8", "-ww", "-z", page, cwd=TREE / "share/man"), "", page)
        page = pages["libmxMediaRTOSDB"].read_text()
        self.assertEqual(prototypes(page), prototypes(HEADER))
        self.assertEqual(re.sub(r"\\([-e])", lambda found: found[1].replace("e", "\\"),
                                page.split(".EX\n")[1].split(".EE")[0]), (EXAMPLES / "contentInfo.c").read_text())
        told = pages[SIMULATOR.name].read_text().replace("\\-", "-")
        self.assertEqual(*(set(re.findall(r"--[a-z-]+[a-z]", text)) for text in (told, run(SIMULATOR, "--help"))))
        completion = next(TREE.rglob("completions/*")).read_text().replace("filterOperation", "query")
        values = dict(re.findall(r"^ +\[(\w+)\]='(.*)'$", completion.replace("logLvl", "log_lvl"), re.M))
        told = pages[CONSOLE.name].read_text().split("QUERIES")[0]
        self.assertEqual(dict(re.findall(r'^\.TP\n\.BI? "?(\w+)[ "]*([\w ]*)', told, re.M)), {**values, "exit": ""})
        table = (SOURCE / "README.md").read_text().split("| Word ")[1].split("\n\n")[0]
        self.assertEqual(sorted(re.findall(r"`(\w+)`", table)), sorted(values))
        wire, constants = (SOURCE / "docs/wire.md").read_text(), re.findall(r"(DB_\w+) = (\d+)", HEADER)
        self.assertEqual(set(re.findall(r"`(DB_COMMAND\w+)` \| (\d+)", wire)),
                         {row for row in constants if "COMMAND" in row[0]})
        sizes = re.findall(r"^DB_ASSERT_SIZE\((\w+), (\w+)\)", HEADER, re.M)
        self.assertEqual(dict(re.findall(r"^(db_\w+) += [^(]*\(.*?(\d+)\)$", wire, re.M)),
                         {record: dict(constants).get(size, size) for record, size in sizes})
        for document in (TREE / "share/doc").rglob("*.md"):
            for link in re.findall(r"\]\((?!https?:)([^)#]+)", document.read_text()):
                self.assertTrue((document.parent / link).exists(), (document, link))

    def test_completion_offers_what_is_not_there_or_runs_a_name(self):
        (CARD / "DCIM/200MOXEL").mkdir()
        (CARD / "DCIM/103M3D_L/$(touch ran)0001.MP4").touch()
        for words, offered in ((["g"], "gci|gumibyfile"), (["ci", ""], "100MOXEL|101MOXEL|102M3D_R|103M3D_L|200MOXEL"),
                               (["ci", "'103M3D_L'", ""], "MOXE0001.JPG|MOXE0002.JPG|MOXE0003.MP4"),
                               (["mus", "100MOXEL", '"MOXE0001.'], "MOXE0001.MP4"), (["ci", "200MOXEL", ""], "")):
            line = shlex.join([CONSOLE.name, *words])
            printed = run("bash", "-O", "failglob", "-uc", f"""source {next(TREE.rglob('completions/*'))}
                _{CONSOLE.name}_card={CARD}/ COMP_WORDS=({line}); COMP_CWORD={len(words)}; _{CONSOLE.name}
                printf '%s|' "${{COMPREPLY[@]}}" """)
            self.assertEqual(set(printed.split("|")), {"", *offered.split("|")}, words)
        self.assertFalse((WORK / "ran").exists())

    def test_package_does_not_install_run_or_go_away(self):
        made = run("sh", "-c", 'umask 077; cpack -B "$0"', WORK / "package", cwd=BUILD)
        package = next(WORK.glob("package/*.deb"))
        self.assertNotRegex(made + run("dpkg-deb", "-c", package), "Warning|(?m:^d(?!rwxr-xr-x))")
        self.assertRegex(run("dpkg-deb", "-f", package, "Depends"), r"libc6 \(.*libstdc\+\+6 \(")
        self.assertIn("libmxMediaRTOSDB 0 mxmediartosdb (", run("dpkg-deb", "-I", package, "shlibs"))
        for folder in ("info", "updates"):
            (ROOT / "var/lib/dpkg" / folder).mkdir(parents=True)
        (ROOT / "var/lib/dpkg/status").touch()
        (WORK / "tools").mkdir()
        (WORK / "tools/ldconfig").symlink_to("/bin/true")  # the package calls it, and would touch this machine's cache
        dpkg = ("dpkg", f"--root={ROOT}", "--force-not-root", "--force-depends", "--force-script-chrootless")
        run(*dpkg, "--install", package)
        self.assertIn("content_type 0", run(ROOT / "usr/bin" / CONSOLE.name, "ci"))
        self.assertEqual({page.suffix for page in ROOT.rglob("man?/*")}, {".gz"})
        run(*dpkg, "--purge", "mxmediartosdb")
        self.assertEqual({path.name for path in ROOT.iterdir()} | set((ROOT / "usr").glob("*")), {"var"})


if __name__ == "__main__":
    unittest.main()
