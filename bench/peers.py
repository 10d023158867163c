"""uwugit beside pygit2 and git doing the same work on the same generated histories. Prints a table of medians
over several rounds, in each of which all take their turn:

    peers.py UWUGIT [--rounds N] [--repository PATH] [FILTER]

Each run is a process of its own, with its start. The figures are seconds of processor time, those of changes
seconds on the clock. "trusted" is uwugit with --trust-objects. --repository adds the rows of a log and of the
churn for a repository of your own; FILTER is a part of the names of rows."""
import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

BENCH = pathlib.Path(__file__).parent
PYTHON = "/usr/bin/python3"  # the one that Debian's pygit2 belongs to
FIELDS = "%H%x09%an%x09%ae%x09%cn%x09%ce%x09%ct%x09%B%x09%P"
NEIGHBOURS = 1000
PROGRAMS = {
    "log": "assert(git.get_commit_log(arg[1]) > 0)",
    "records": "for commit in git.open(arg[1]):log() do end",
    "status": "assert(git.get_status(arg[1]) > 0)",
    "churn": """
for line in io.lines(arg[2]) do
  local new, old = line:match("^(%x+) (%x+)")
  for number = 1, git.diff_commits(arg[1], old, new) do
    git.get_diff_attribute(number, arg[1], old, new, "DIFF_CONTENT")
  end
  git.free_diff_objects(arg[1], old, new)
end""",
}


def git(repo, *words, **more):
    return subprocess.run(["git", "-C", repo, *words], check=True, capture_output=True, text=True, **more).stdout


class World:
    """The repositories, each generated when a row asks for it."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        for name, text in PROGRAMS.items():
            (self.folder / f"{name}.lua").write_text(text)

    def program(self, name):
        return str(self.folder / f"{name}.lua")

    def history(self, commits, files, folders=17):
        repo = str(self.folder / f"history-{commits}-{files}-{folders}")
        if not os.path.exists(repo):
            subprocess.run(["git", "init", "--quiet", "--bare", "--initial-branch", "main", repo], check=True)
            words = [PYTHON, str(BENCH / "history.py"), str(commits), str(files), str(folders)]
            with subprocess.Popen(words, stdout=subprocess.PIPE) as writer:
                subprocess.run(["git", "-C", repo, "fast-import", "--quiet", "--done"], stdin=writer.stdout, check=True)
            git(repo, "repack", "-adq")
        return repo

    def neighbours(self, repo):
        pairs = self.folder / f"pairs-{abs(hash(repo))}"
        if not pairs.exists():
            lines = git(repo, "rev-list", "--first-parent", "--parents", "HEAD").splitlines()
            words = [line.split()[:2] for line in lines if " " in line]
            pairs.write_text("".join(f"{new} {old}\n" for new, old in words[:NEIGHBOURS]))
        return str(pairs)

    def changed_tree(self, files):
        """A working tree in which all files are changed, and in HEAD as well."""
        repo = self.folder / f"tree-{files}"
        if not repo.exists():
            git(self.folder, "init", "--quiet", "--initial-branch", "main", str(repo))
            for round_ in range(3):
                for number in range(files):
                    path = repo / f"folder{number % 100}" / f"file{number}"
                    path.parent.mkdir(exist_ok=True)
                    path.write_text("".join(f"line {line} of {number}\n" for line in range(10)) + f"{round_}\n")
                if round_ < 2:
                    git(repo, "add", ".")
                    git(repo, "-c", "user.name=N", "-c", "user.email=e", "commit", "--quiet", "--message", "all")
        return str(repo)


def rows(world, own):
    """Name, the words of each peer, and whether the clock counts."""

    def log(name, repo):
        return [
            (f"log, {name}", ["run", world.program("log"), repo], ["log", repo],
             ["-C", repo, "log", "--branches", "--tags", "--remotes", "--date-order", f"--format={FIELDS}"], False),
        ]

    def churn(name, repo):
        pairs = world.neighbours(repo)
        return [
            (f"churn, {name}", ["run", world.program("churn"), repo, pairs], ["churn", repo, pairs],
             ["-C", repo, "log", "--first-parent", "--diff-merges=first-parent", "-p", "--no-renames", "-n",
              str(NEIGHBOURS)], False),
        ]

    def csv(repo):
        words = ["-C", repo, "log", "--date-order", f"--format={FIELDS}"]
        return [
            ("200,000 commits as CSV", ["-C", repo, "log", "--format", "csv"], ["csv", repo], words, False),
            ("as JSON lines", ["-C", repo, "log", "--format", "jsonl"], None, None, False),
            ("as records of Lua", ["run", world.program("records"), repo], None, None, False),
            ("authors counted by SQL", ["-C", repo, "sql", "select count(*), author from commits group by author"],
             None, None, False),
        ]

    def changes(repo):
        words = ["-C", repo, "log", "-n", "5000", "--date-order", "--diff-merges=first-parent", "--no-renames",
                 "--numstat", "--format=%H"]
        return [(f"changes, 5,000 commits, {jobs} jobs", ["-C", repo, "changes", "-n", "5000", "--jobs", str(jobs)],
                 ["changes", repo, "5000"], words, True) for jobs in (1, 2)]

    def tree():
        repo = world.changed_tree(20_000)
        return [
            ("status, 20,000 changed files", ["run", world.program("status"), repo], ["status", repo],
             ["-C", repo, "status", "--porcelain"], False),
            ("diff, 20,000 files",
             ["run", world.program("churn"), repo, world.neighbours(repo)], ["diff", repo],
             ["-C", repo, "diff", "--no-renames", "HEAD~1", "HEAD"], False),
        ]

    families = [
        ("log, 25,000", lambda: log("25,000 commits", world.history(25_000, 3))),
        ("log, 200,000", lambda: log("200,000 commits", world.history(200_000, 3))),
        ("commits as CSV JSON Lua SQL", lambda: csv(world.history(200_000, 3))),
        ("churn, many small trees", lambda: churn("many small trees", world.history(3_000, 2_000, 200))),
        ("churn, few large trees", lambda: churn("few large trees", world.history(3_000, 20_000, 8))),
        ("changes", lambda: changes(world.history(6_000, 800))),
        ("status diff, 20,000 files", tree),
    ]
    if own:
        families += [("log, own", lambda: log("own", own)), ("churn, own", lambda: churn("own", own))]
    return families


def measure(command, environment):
    """Seconds of processor time, seconds on the clock, MB at most. A process counts the memory of who started it
    as its own, so something small stands between."""
    with tempfile.NamedTemporaryFile("r") as memory, open(os.devnull, "w") as nothing:
        words = ["time", "--format", "%M", "--output", memory.name, *command]
        begin = time.monotonic()
        process = subprocess.Popen(words, stdout=nothing, stderr=nothing, env={**os.environ, **environment})
        _, status, used = os.wait4(process.pid, 0)
        elapsed = time.monotonic() - begin
        if status != 0:
            sys.exit(f"{' '.join(command)}: failed ({status})")
        return used.ru_utime + used.ru_stime, elapsed, int(memory.read()) // 1024


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("uwugit")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--repository", type=os.path.abspath)
    parser.add_argument("filter", nargs="?", default="")
    given = parser.parse_intermixed_args()
    print(f"| {'work':34} | uwugit | trusted | pygit2 |   git  | of pygit2 | of git | trusted of git | memory |")
    print(f"|{'---|' * 9}")
    with tempfile.TemporaryDirectory() as folder:
        world = World(folder)
        for family, make in rows(world, given.repository):
            if given.filter not in family:
                continue
            for name, ours, pygit2, git_words, is_clock in make():
                peers = {"uwugit": ([given.uwugit, *ours], {}), "trusted": ([given.uwugit, *ours],
                                                                          {"UWUGIT_TRUST_OBJECTS": "1"})}
                if pygit2:
                    peers["pygit2"] = ([PYTHON, str(BENCH / "peer.py"), *pygit2], {})
                    peers["git"] = (["git", *git_words], {})
                runs = {peer: [] for peer in peers}
                for _ in range(given.rounds + 1):  # the first one warms up
                    for peer, (command, environment) in peers.items():
                        runs[peer].append(measure(command, environment))
                used = {peer: statistics.median(run[is_clock] for run in runs[peer][1:]) for peer in peers}
                cells = [f"{used[peer]:.2f} s" if peer in used else "" for peer in ("uwugit", "trusted", "pygit2", "git")]
                for above, below in (("uwugit", "pygit2"), ("uwugit", "git"), ("trusted", "git")):
                    cells.append(f"{used[above] / used[below]:.2f}" if below in used else "")
                memory = max(run[2] for run in runs["uwugit"])
                print(f"| {name:34} | " + " | ".join(cells) + f" | {memory} MB |", flush=True)


if __name__ == "__main__":
    main()
