-- Branches, as git lists them.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local first = commit("first", { file = "first\n" })
commit("second", { file = "second\n" })
local function list()
  show "git for-each-ref --format='%(refname) %(objectname)' refs/heads refs/remotes; git status --short --branch; cat file"
end

-- A start point is the whole id of a commit, or the full name of a reference.
each("create_branch", { first, "feature/ветка", 0 }, { "refs/heads/main", "copy", 0 }, { "main", "new", 0 },
  { first:sub(1, 12), "new", 0 }, { run "git rev-parse HEAD:file", "new", 0 }, { "HEAD", "a b", 0 },
  { first, "copy", 0.9 }, { first, "copy", -1 }, { first, "main", 1 })
list()

-- A checkout takes the files along, and spares local changes.
each("checkout_branch", { "feature/ветка" })
list()
run "echo mine >file; echo kept >other"
each("checkout_branch", { "main" }, { "none" })
list()
run "git checkout --quiet file"
each("checkout_branch", { "main" })

-- A local branch is deleted, or with kind 1 a remote-tracking one; never the one that HEAD is on.
run "git update-ref refs/remotes/origin/topic copy; git branch topic"
each("delete_branch", { "main" }, { "origin/topic" }, { "topic", 1 }, { "topic", 2 }, { "origin/topic", 1.5 }, { "copy" })
list()

-- HEAD follows the name, not what the name means: a tag leaves it on a branch without commits. A
-- name that no branch can have leaves HEAD alone, when the files have changed already.
run("git tag v1 " .. first)
each("checkout_branch", { "v1" })
list()
run "git switch --quiet --force main"
each("checkout_branch", { "main^" })
list()
