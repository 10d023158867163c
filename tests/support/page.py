# What a page of `uwugit graph --html` holds beside what git tells: page.py REPO PAGE.
import json
import re
import subprocess
import sys

repo, page = sys.argv[1:]


def git(*words):
    return subprocess.run(["git", "-C", repo, *words], check=True, capture_output=True).stdout.decode()


text = open(page, encoding="utf-8").read()
data = json.loads(re.search(r'<script id="data" type="application/json">(.*?)</script>', text, re.S)[1])
assert not re.search(r'(src|href)="?https?:', text), "the page asks the network"

rows = {row[0]: row for row in data["rows"]}
assert len(rows) == len(data["rows"]), "a commit comes twice"
commits = git("log", "--all", "-z", "--format=%H%x01%an%x01%ae%x01%at%x01%ct%x01%P%x01%B").strip("\0").split("\0")
assert len(commits) == len(rows), (len(commits), len(rows))
for commit in commits:
    id_, author, email, _, time, parents, message = commit.split("\1")
    row = rows[id_]
    assert row[1:3] == [author, email] and row[3] == int(time), row
    assert row[4].rstrip("\n") == message.rstrip("\n"), row
    assert row[-1] == parents.split(), row

place = {row[0]: number for number, row in enumerate(data["rows"])}
for row in data["rows"]:
    for parent in row[-1]:
        assert place[parent] > place[row[0]], "a parent above its child"

for number, files in data["diffs"].items():
    id_, *_, parents = data["rows"][int(number)]
    before = parents[0] if parents else git("hash-object", "-t", "tree", "/dev/null").strip()
    told = git("diff", "--numstat", "--no-renames", before, id_).splitlines()
    assert [f"{file[2]}\t{file[3]}\t{file[0]}" for file in files] == told, (files, told)
    for file in files:
        lines = [line[1:] for line in file[-1].splitlines() if line[:1] == "+" and line[:3] != "+++"]
        assert len(lines) == file[2], file
print(len(rows), "commits,", sum(map(len, data["diffs"].values())), "files")
