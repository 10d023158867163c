"""How time and memory grow with the size of a repository, by tenfold steps:

    scale.py UWUGIT [--smallest] [FILTER]

Prints a table: each work on two repositories, the second ten times as large, with the time an item and how it has
grown. --smallest takes a tenth of the sizes, to try the script. Needs about 12 GB of disk and half an hour."""
import argparse
import pathlib
import statistics
import subprocess
import tempfile

from peers import BENCH, PYTHON, git, measure


def new_repository(repo, bare=True):
    words = ["git", "init", "--quiet", "--initial-branch", "main", *(["--bare"] if bare else []), str(repo)]
    subprocess.run(words, check=True)
    git(repo, "config", "gc.auto", "0")


def fast_import(repo, write):
    process = subprocess.Popen(["git", "-C", repo, "fast-import", "--quiet", "--done"], stdin=subprocess.PIPE)
    write(process.stdin)
    process.stdin.close()
    assert process.wait() == 0


def commits(repo, count):
    new_repository(repo)
    words = [PYTHON, str(BENCH / "history.py"), str(count), "3"]
    fast_import(repo, lambda pipe: subprocess.run(words, stdout=pipe, check=True))


def references(repo, count):
    commits(repo, 1000)
    ids = git(repo, "rev-list", "main").split()
    names = sorted(f"refs/tags/release-{number}" for number in range(count))
    lines = [f"{ids[place % len(ids)]} {name}\n" for place, name in enumerate(names)]
    (pathlib.Path(repo) / "packed-refs").write_text("# pack-refs with: sorted \n" + "".join(lines))


def changed_files(repo, count):
    new_repository(repo)

    def write(pipe):
        for commit in (1, 2):
            pipe.write(f"commit refs/heads/main\ncommitter N <e> {commit} +0000\ndata 1\nm\n".encode())
            for number in range(count):
                text = f"first\n{commit} of {number}\nlast\n"
                pipe.write(f"M 100644 inline folder{number % 1000}/file{number}\ndata {len(text)}\n{text}\n".encode())
        pipe.write(b"done\n")

    fast_import(repo, write)


def working_tree(repo, count):
    new_repository(repo, bare=False)
    paths = [pathlib.Path(repo) / f"folder{number % 1000}" / f"file{number}" for number in range(count)]
    for folder in {path.parent for path in paths}:
        folder.mkdir()
    for path in paths:
        path.write_text(f"{path.name}\n")
    git(repo, "add", ".")
    git(repo, "-c", "user.name=N", "-c", "user.email=e", "commit", "--quiet", "--message", "all")
    git(repo, "update-index", "--refresh")
    for path in paths[:: max(1, count // 1000)]:
        path.write_text("changed\n")


# Name, what makes the repository, the size, and the words of the command.
WORKS = [
    ("log of commits", commits, 1_000_000, ["log", "--format", "csv"]),
    ("log of references", references, 100_000, ["log", "--format", "csv"]),
    ("list of references", references, 100_000, ["refs", "--format", "csv"]),
    ("status, 1,000 changed of files", working_tree, 1_000_000, ["status", "--format", "csv"]),
    ("diff of changed files", changed_files, 100_000, ["diff", "HEAD~1", "HEAD", "--format", "csv"]),
]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("uwugit")
    parser.add_argument("--smallest", action="store_true")
    parser.add_argument("filter", nargs="?", default="")
    given = parser.parse_intermixed_args()
    print("| work | size | processor | clock | an item | of that at a tenth | memory |")
    print(f"|{'---|' * 7}")
    for name, make, largest, words in WORKS:
        if given.filter not in name:
            continue
        before = None
        for size in (largest // 10, largest):
            size //= 10 if given.smallest else 1
            with tempfile.TemporaryDirectory() as folder:
                repo = f"{folder}/repo"
                make(repo, size)
                runs = [measure([given.uwugit, "-C", repo, *words], {}) for _ in range(4)][1:]
                subprocess.run(["rm", "-rf", repo], check=True)
            used, clock, memory = (statistics.median(column) for column in zip(*runs))
            item = 1e6 * used / size
            growth = f"{item / before:.2f}" if before else ""
            print(f"| {name} | {size:,} | {used:.2f} s | {clock:.2f} s | {item:.2f} µs | {growth} | {memory:.0f} MB |",
                  flush=True)
            before = item


if __name__ == "__main__":
    main()
