"""What the benchmark's works are in pygit2: WORK REPO [ARGUMENT]. Each repository is opened once."""
import csv
import itertools
import sys

import pygit2

work, repo = sys.argv[1], pygit2.Repository(sys.argv[2])
argument = sys.argv[3] if len(sys.argv) > 3 else None
write = csv.writer(sys.stdout).writerow


def walk():
    return repo.walk(repo.head.target, pygit2.GIT_SORT_TOPOLOGICAL | pygit2.GIT_SORT_TIME)


def fields(commit):
    return [commit.id, commit.author.name, commit.author.email, commit.committer.name, commit.committer.email,
            commit.commit_time, commit.message, " ".join(str(parent) for parent in commit.parent_ids)]


def read_contents(old, new):
    return sum(len(patch.data) for patch in repo.diff(old, new))


if work == "log":
    print(sum(len(fields(commit)) > 0 for commit in walk()))
elif work == "csv":
    for commit in walk():
        write(fields(commit))
elif work == "status":
    print(len(repo.status()))
elif work == "diff":
    print(read_contents("HEAD~1", "HEAD"))
elif work == "churn":
    with open(argument) as pairs:
        print(sum(read_contents(*reversed(line.split())) for line in pairs))
elif work == "changes":
    for commit in itertools.islice(walk(), int(argument)):
        parents = commit.parents
        diff = repo.diff(parents[0], commit) if parents else commit.tree.diff_to_tree(swap=True)
        for patch in diff:
            _, additions, deletions = patch.line_stats
            write([commit.id, patch.delta.new_file.path, patch.delta.status_char(), additions, deletions])
