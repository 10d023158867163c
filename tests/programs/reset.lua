-- Resets of branches and of single files, as git sees them.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local first = commit("one", { a = "one\n", b = "one\n" })
local second = commit("two", { a = "two\n" })
local function state() show "git log --max-count=1 --format=%s main; git status --short; ls .git | grep MERGE" end

for _, mode in ipairs { "soft", "Mixed", "HARD  " } do
  run("git reset --quiet --hard " .. second .. "; echo changed >b; echo changed >c; git rev-parse HEAD >.git/MERGE_HEAD")
  git.reset_to_commit(repo, first, mode)
  state()
end

-- A commit has a whole id, and a mode is one of three. Nothing is touched otherwise.
write("b", "changed\n")
each("reset_to_commit", { second, " hard" }, { "HEAD", "HARD" }, { second:sub(1, 12), "HARD" },
  { run "git rev-parse HEAD^{tree}", "HARD" })
state()

-- A file becomes what it is in HEAD, in the index and in the working tree, and goes where it is not
-- in HEAD. It is a pattern; an empty one would mean every file.
run "for name in a b c x1 x2 staged; do echo changed >$name; done; git add a staged"
each("reset_file_in_index", { "a" }, { "none" }, { "" })
state()
each("reset_file_in_index", { "staged" }, { "x[12]" })
state()
