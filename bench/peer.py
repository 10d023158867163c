"""The rows of `uwugit log` (log REPO) and `uwugit changes` (changes REPO COMMITS) by pygit2."""
import csv
import itertools
import sys

import pygit2

repo = pygit2.Repository(sys.argv[2])
writer = csv.writer(sys.stdout)
walk = repo.walk(repo.head.target, pygit2.GIT_SORT_TOPOLOGICAL | pygit2.GIT_SORT_TIME)
if sys.argv[1] == "log":
    for commit in walk:
        writer.writerow([commit.id, commit.author.name, commit.author.email, commit.committer.name,
                         commit.committer.email, commit.commit_time, commit.message,
                         " ".join(str(parent) for parent in commit.parent_ids)])
else:
    for commit in itertools.islice(walk, int(sys.argv[3])):
        parents = commit.parents
        diff = repo.diff(parents[0], commit) if parents else commit.tree.diff_to_tree(swap=True)
        for patch in diff:
            _, additions, deletions = patch.line_stats
            writer.writerow([commit.id, patch.delta.new_file.path, patch.delta.status_char(), additions, deletions])
