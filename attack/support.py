"""What the parts that attack the command share: repositories, calls, and what must hold afterwards."""

import atexit
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
UWUGIT = TOP + "/build/release/bin/uwugit"
ME = ["Me", "me@example.org"]


class Attack:
    """One run of a part: its folder, its time, its random numbers, its faults."""

    def __init__(self):
        subprocess.run([TOP + "/script/build", "release", "uwugit", "uwugit_p", "libgit2_companion"], check=True)
        self.seed = int(os.environ.get("SEED", random.randrange(1 << 31)))
        self.random = random.Random(self.seed)
        self.faults = 0
        self.folder = tempfile.mkdtemp(prefix="uwugit-attack-", dir=os.environ.get("TMPDIR", "/dev/shm"))
        atexit.register(shutil.rmtree, self.folder, ignore_errors=True)
        os.environ.update(HOME=self.folder, GIT_CONFIG_NOSYSTEM="1", NO_COLOR="1", LC_ALL="C.UTF-8")
        write(self.folder + "/.gitconfig", "[user]\nname=Me\nemail=me@example.org\n[init]\ndefaultBranch=main\n"
              "[gc]\nauto=0\n[advice]\ndetachedHead=false\n[safe]\ndirectory=*\n")
        self.end = time.monotonic() + float(sys.argv[1] if len(sys.argv) > 1 else 60)

    def has_time(self):
        return time.monotonic() < self.end

    def fault(self, case, text):
        self.faults += 1
        print(f"FAULT (SEED={self.seed}) {case}: {text}", flush=True)

    def finish(self, figures):
        print(figures)
        sys.exit(1 if self.faults else 0)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def run(repo, *words):
    """What git, or another command, prints; the two streams as one."""
    done = subprocess.run(words, cwd=repo, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                          text=True, errors="replace")
    return done.stdout


def shell(folder, script):
    subprocess.run(["sh", "-eu", "-c", script], cwd=folder, check=True, stdout=subprocess.DEVNULL)


def start(function, *words):
    return subprocess.Popen([UWUGIT, "call", function, *words], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, errors="replace")


def call(function, *words, limit=60):
    """(exit status, return code, output); the status is negative for a signal, None after the limit."""
    process = start(function, *words)
    try:
        output = process.communicate(timeout=limit)[0]
    except subprocess.TimeoutExpired:
        process.kill()
        return None, "", process.communicate()[0]
    code = re.search(r"return code: (\S+)", output)
    return process.returncode, code.group(1) if code else "", output


PREPARE = """
git init -q --bare origin.git; git init -q repo; cd repo; git remote add origin ../origin.git
mkdir -p d; for i in $(seq 300); do echo "base $i" >d/f$i; done; seq 300 >text
git add .; git commit -qm base; git push -q origin main; git branch start
git switch -qc topic; for i in $(seq 150); do echo "topic $i" >>d/f$i; echo "topic $i" >d/t$i; done
git add .; git commit -qm topic; for i in 1 2 3 4 5 6; do echo "$i" >>d/t$i; git commit -qam "topic $i"; done
git switch -q main; for i in $(seq 160 300); do echo "main $i" >>d/f$i; echo "main $i" >d/m$i; done
git add .; git commit -qm main; git clone -q ../origin.git ../other; cd ../other
for i in $(seq 150); do echo "theirs $i" >d/o$i; echo "theirs $i" >>d/f$i; done; git add .
git commit -qm theirs; git push -q origin main; rm -rf ../other; cd ../repo; git gc -q
"""
CHANGES = "for i in $(seq 200); do echo 'mine' >>d/f$i; echo 'mine '$i >d/u$i; done"
STASHED = CHANGES + "; git add d/u1 d/u2 d/f3; git stash -q; echo 'mine' >d/f299"

# Each function that writes: what the copy of the repository is prepared with, and the words of the call.
# TOPIC, MAIN and START stand for ids, REPO and NEW for folders.
NEW_FILES = [word for i in range(1, 101) for word in (f"d/u{i}", "new")]
CALLS = {
    "add_files_to_index": (CHANGES, ["REPO", *NEW_FILES]),
    "remove_files_from_index": (CHANGES + "; git add .", ["REPO", "d/u1", "d/u2", "d/f1", "d"]),
    "do_commit": (CHANGES + "; git add .", ["REPO", "HEAD", *ME, "text"]),
    "checkout_branch": ("echo mine >d/untracked; echo mine >>text", ["REPO", "topic"]),
    "create_branch": ("true", ["REPO", "HEAD", "new", "0"]),
    "delete_branch": ("true", ["REPO", "start"]),
    "merge_branch": ("echo mine >d/untracked; echo mine >>text", ["REPO", "topic", *ME]),
    "do_pull": ("echo mine >d/untracked; echo mine >>text", ["REPO"]),
    "do_fetch": (CHANGES, ["REPO"]),
    "do_push": ("git switch -q topic; " + CHANGES, ["REPO"]),
    "do_clone": ("true", ["ORIGIN", "NEW"]),
    "init_repo": ("true", ["NEW", "main", "http://127.0.0.1/x"]),
    "reset_to_commit": ("echo mine >d/untracked", ["REPO", "START", "HARD"]),
    "reset_file_in_index": ("for i in $(seq 200); do echo lost >>d/f$i; done", ["REPO", "d"]),
    "stash": (CHANGES + "; git add d/u1 d/u2 d/f3", ["REPO", *ME]),
    "stash_pop": (STASHED, ["REPO"]),
    "stash_apply": (STASHED, ["REPO"]),
    "stash_drop": (STASHED, ["REPO"]),
    "rebase": ("git switch -q topic; echo mine >d/untracked", ["REPO", "TOPIC", "MAIN", *ME]),
    "rebase_operation": ("git switch -q topic; echo x >d/f170; git commit -qam clash; echo mine >d/untracked; "
                         "uwugit call rebase . $(git rev-parse topic) $(git rev-parse main) Me m@x >/dev/null 2>&1"
                         " || true; test -d .git/rebase-merge", ["REPO", "ABORT", "topic", *ME]),
    "set_remote_url": ("git remote remove origin", ["REPO", "http://127.0.0.1/x"]),
    "delete_repo": ("true", ["REPO"]),
}


def prepare(attack):
    """The template, and a folder a function with its repository and the words of its call."""
    os.environ["PATH"] = os.path.dirname(UWUGIT) + ":" + os.environ["PATH"]
    template = attack.folder + "/template"
    os.mkdir(template)
    shell(template, PREPARE)
    for name, (script, _) in CALLS.items():
        folder = f"{attack.folder}/{name}"
        shutil.copytree(template, folder, symlinks=True)
        shell(folder + "/repo", script)


def fresh(attack, name, folder):
    """A copy of the function's folder, and the words of its call there."""
    shutil.rmtree(folder, ignore_errors=True)
    subprocess.run(["cp", "-a", f"{attack.folder}/{name}", folder], check=True)
    repo = folder + "/repo"
    if name != "set_remote_url":
        run(repo, "git", "config", "remote.origin.url", folder + "/origin.git")
    ids = {"REPO": repo, "NEW": folder + "/new", "ORIGIN": folder + "/origin.git"}
    for word, branch in (("TOPIC", "topic"), ("MAIN", "main"), ("START", "start")):
        ids[word] = run(repo, "git", "rev-parse", branch).strip()
    return [ids.get(word, word) for word in CALLS[name][1]]


def user_contents(repo):
    """The contents of all files in the working tree that are not HEAD's, and of what is staged, by their ids."""
    paths = run(repo, "git", "ls-files", "-mo").split("\n")[:-1]
    paths = [path for path in paths if os.path.exists(f"{repo}/{path}")]
    ids = subprocess.run(["git", "hash-object", "--stdin-paths"], cwd=repo, input="\n".join(paths),
                         stdout=subprocess.PIPE, text=True, check=True).stdout.split()
    staged = run(repo, "git", "diff", "--cached", "--raw", "--abbrev=40", "--no-renames").split("\n")
    return set(ids) | {line.split()[3] for line in staged if line and " D\t" not in line and "000000000" not in line.split()[3]}


def lost(name, repo, before):
    """The contents of before that are neither in the working tree nor in the object database."""
    if name in ("reset_file_in_index", "delete_repo"):
        return set()  # these are told to overwrite
    if name == "rebase_operation":  # ABORT overwrites changes of tracked files
        before = before & {run(repo, "git", "hash-object", "d/untracked").strip()} or {"d/untracked"}
    work = user_contents(repo) | set(run(repo, "git", "ls-files", "-s", "--format=%(objectname)").split())
    gone = before - work
    known = run(repo, "git", "cat-file", "--batch-all-objects", "--batch-check=%(objectname)").split()
    return gone - set(known)


def damage(repo):
    """What git fsck says beyond dangling objects; empty when the repository is sound."""
    lines = run(repo, "git", "fsck", "--no-dangling", "--no-progress").split("\n")
    unborn = ("notice: ", "dangling ")
    return "; ".join(line for line in lines if line and not line.startswith(unborn))
