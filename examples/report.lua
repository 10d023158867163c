-- A weekly report of a repository: uwugit run examples/report.lua [REPO [SINCE]]
local repo, since = git.open(arg[1]), arg[2] or "7 days"
local people, author_of = {}, {}
for commit in repo:log { since = since, merges = false } do
  local row = people[commit.author] or { commits = 0, files = {}, touched = 0, added = 0, deleted = 0 }
  people[commit.author], author_of[commit.id], row.commits = row, row, row.commits + 1
end
for change in repo:changes { since = since, merges = false } do
  local row = author_of[change.id]
  row.touched = row.touched + (row.files[change.path] and 0 or 1)
  row.files[change.path] = true
  row.added, row.deleted = row.added + (change.additions or 0), row.deleted + (change.deletions or 0)
end
for name, row in pairs(people) do
  print(("%-20s %4d commits %5d files   +%d -%d"):format(name, row.commits, row.touched, row.added, row.deleted))
end
