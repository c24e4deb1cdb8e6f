"""What benchmarks and instruction counts share: programs, cards, simulated cameras, recordings."""
import atexit
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

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(os.environ.get("BENCH_BUILD", ROOT / "build/bench")).absolute()
PROGRAMS = BUILD / "bench"
FOR_CAMERA = PROGRAMS / "camera"
SIMULATOR = BUILD / "bin/rtosMediaDBSim"
MOUNT_POINT = pathlib.Path("/tmp/fuse_d")


def enter_own_namespace(*packages):
    """
    Starts this program anew where it can mount a card without anybody else seeing it. The packages that it needs are
    installed before, as in there every user seems to be root.
    """
    if os.environ.get("BENCH_NAMESPACE") == "yes":
        return
    if re.search(r"[\s:,]", str(PROGRAMS)):
        sys.exit(f"A blank, colon or comma is in {PROGRAMS}: name another folder by BENCH_BUILD.")
    lists = " ".join(f"${{{name}[@]}}" for name in ("packages_build", *packages))
    if subprocess.run(["bash", "-c", f"source scripts/packages.sh && need_packages {lists}"], cwd=ROOT).returncode != 0:
        sys.exit(1)
    options = "-m" if os.geteuid() == 0 else "-rm"
    if subprocess.run(["unshare", options, "true"]).returncode != 0:
        sys.exit("This needs a mount namespace of its own: run it as root.")
    os.environ["BENCH_NAMESPACE"] = "yes"
    if not MOUNT_POINT.exists():
        # It stays: without it the mounts of other namespaces would be gone, too.
        MOUNT_POINT.mkdir()
        MOUNT_POINT.chmod(0o777)
    os.execvp("unshare", ["unshare", options, sys.executable, *sys.argv])


def run(*words, **more):
    return subprocess.run([str(word) for word in words], check=True, **more)


def build():
    """Builds the release, the console for a camera and the bench's own programs. Gives the folder of the latter."""
    compilers = dict(os.environ, CC="gcc", CXX="g++")  # for the preset that leaves the choice
    own_flags = [f"-DCMAKE_{what}_FLAGS=" for what in ("C", "CXX", "EXE_LINKER", "SHARED_LINKER")]  # not the caller's
    for preset, built in (("release", BUILD), ("camera", FOR_CAMERA)):
        run("cmake", "--preset", preset, *own_flags, "-B", built, cwd=ROOT, env=compilers, stdout=subprocess.DEVNULL)
        run("cmake", "--build", built, stdout=subprocess.DEVNULL)
    compile_c = ["gcc", "-std=c11", "-D_GNU_SOURCE", "-O2", "-Wall", "-Wextra", "-Werror", f"-I{ROOT}/platform"]
    transport = [f"-L{BUILD}/lib", "-lmxipc", f"-Wl,-rpath,{BUILD}/lib"]
    for name, *options in [["empty"], ["measure"], ["exchange", *transport], ["record", "-shared", "-fPIC", "-ldl"]]:
        run(*compile_c, "-o", PROGRAMS / name, ROOT / "bench" / f"{name}.c", *options)
    return PROGRAMS


def workplace():
    """
    A new folder for cards and channels, gone at the end, with the console installed in it as a camera gets it, and as a
    desktop does in `desktop`. Its path is of the same length every time: paths stand on the stack, and move all that is
    behind them. The loader's cache leads to the stand-ins, as a camera's leads to the libraries in their place.
    """
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that the next lines count
    folder = pathlib.Path(tempfile.mkdtemp(prefix="mxbench.", dir="/tmp"))
    atexit.register(shutil.rmtree, folder)
    atexit.register(unbind)
    desktop = folder / "desktop"
    for built, prefix, component in ((FOR_CAMERA, folder, "console"), (BUILD, desktop, "console"),
                                     (BUILD, desktop, "desktop")):
        run("cmake", "--install", built, "--prefix", prefix, "--component", component, stdout=subprocess.DEVNULL)
    cache, folders = folder / "ld.so.cache", folder / "ld.so.conf"
    folders.write_text(f"include /etc/ld.so.conf\n{next(desktop.rglob('libmxipc.so')).parent}\n")
    run("mount", "-t", "tmpfs", "ldconfig", "/var/cache/ldconfig")  # where it writes, too
    run("/sbin/ldconfig", "-X", "-C", cache, "-f", folders)
    run("mount", "--bind", cache, "/etc/ld.so.cache")
    return folder


def unbind():
    """Takes away the card that is mounted where the console looks for it."""
    subprocess.run(["umount", MOUNT_POINT], stderr=subprocess.DEVNULL)


class Camera:
    """A card with a number of items, and the simulated camera that holds it."""

    def __init__(self, folder, name, items, core=None):
        self.card, self.channel, self.items = folder / f"card-{name}", folder / f"ipc-{name}", items
        self.console = folder / "bin/mxMediaRTOSDBTestApp"
        run(SIMULATOR, "--make-card", "--items", items, "--card", self.card)
        self.spread()
        (self.card / "MISC").mkdir()
        (self.card / "MISC/card").write_text("1234567890123456789")
        pin = ["taskset", "-c", str(core)] if core is not None else []
        self.environment = {"PATH": "/usr/bin:/bin", "LC_ALL": "C", "MXIPC_DIR": str(self.channel)}
        self.simulator = subprocess.Popen([*pin, SIMULATOR, "--card", self.card], env=self.environment,
                                          stdout=subprocess.PIPE)
        atexit.register(self.stop)
        if b"serving" not in self.simulator.stdout.readline():
            sys.exit("The simulated camera does not start.")

    def on_desktop(self):
        """The same, asked by a desktop's console."""
        other = copy.copy(self)
        other.console = self.card.parent / "desktop/bin" / self.console.name
        return other

    def spread(self):
        """Halves the folders of 500 items: a full one is more than a document holds of one directory."""
        for path in self.card.glob("DCIM/2??MOXEL/*"):
            number = int(path.name[1:4] if path.name[0] == "G" else path.name[4:8])
            if number >= 250:
                folder = path.parent.with_name("3" + path.parent.name[1:])
                folder.mkdir(exist_ok=True)
                path.rename(folder / path.name)

    def fill_pages(self):
        """Gives each video that the sample card has not so many highlights that a page has room for it alone."""
        told = json.loads((self.card / "catalogue.json").read_text())
        for path in self.card.glob("DCIM/[23]*/MOXE*.MP4"):
            told[f"{path.parent.name}/{path.name}"] = {"highlights": [0] * 300}
        (self.card / "catalogue.json").write_text(json.dumps(told))

    def bind(self):
        """Mounts the card where the console looks for it, in place of the last one."""
        unbind()
        run("mount", "--bind", self.card, MOUNT_POINT)

    def succeeds(self, *words, before=(), **more):
        """Runs the console. False: a call failed, whose result is negative."""
        self.bind()
        words = map(str, [*before, self.console, *words])
        # valgrind passes the folder that it is called in on to the console, where its length would move the stack.
        return subprocess.run(words, env=dict(self.environment, **more), capture_output=True, cwd="/").returncode < 128

    def record(self, recorder, path, *words):
        """Writes down a run's exchanges; gives their number."""
        if not self.succeeds(*words, LD_PRELOAD=str(recorder), BENCH_RECORD=str(path)):
            sys.exit(f"This fails: {words}")
        return count_exchanges(path.read_bytes())

    def stop(self):
        """Ends the simulated camera, which is done at the end of the program at the latest."""
        self.simulator.terminate()
        self.simulator.wait()
        self.simulator.stdout.close()


def count_exchanges(recording):
    at = exchanges = 0
    while at < len(recording):
        if recording[at:at + 1] == b"s":
            at += 2 + int.from_bytes(recording[at + 1:at + 3], "little")
            exchanges += 1
        at += 1
    return exchanges


def most(low, high, fits):
    """The highest number from `low` on for which `fits` holds, if it holds up to some number below `high`."""
    while high - low > 1:
        middle = (low + high) // 2
        low, high = (middle, high) if fits(middle) else (low, middle)
    return low
