-- The stash, as git shows it.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

-- Changes the file, or leaves it, and puts the changes aside.
local function stash(content, name)
  if content then write("file", content) end
  git.stash(repo, name or "Stasher", "stash@example.org")
end
local function pop()
  git.stash_pop(repo)
  show "cat file; git status --short; git stash list --format=%gd"
end

-- All changes of tracked files are put aside. What was staged comes back unstaged, unless it is new.
commit("base", { file = "base\n", other = "base\n", third = "base\n" })
run [[echo added >added; echo staged >third; git add .; echo unstaged >other; echo new >untracked
echo /ignored >.git/info/exclude; echo >ignored]]
stash()
show [[git log -1 --format='%an %ae %cn %ce %s' stash | sed 's/: [0-9a-f]* /: /'; ls ignored
git show stash:other stash:added stash:third stash^2:third stash^2:other; git status --short]]
pop()

-- Entries are counted from 0, the latest. Applying keeps one, popping and dropping do not.
run "git reset --quiet --hard"
for _, content in ipairs { "oldest\n", "middle\n", "latest\n" } do stash(content) end
for _, position in ipairs { {}, { 1.9 }, { 3 }, { -1 }, { 0 / 0 } } do
  each("stash_apply", position)
  show "cat file; git checkout --quiet file"
end
each("stash_drop", { 3 }, { -1 }, { 0 / 0 }, { 1 })
show "git show stash@{0}:file stash@{1}:file"
each("stash_drop", {})

-- A file with local changes is passed over, one with committed changes gets conflict markers. Both
-- count as applied, so that a pop drops the entry all the same.
stash "newer\n"
write("file", "local\n")
pop()
commit "committed"
run "git config merge.conflictStyle diff3"
pop()

-- What fails leaves the changes and the entry.
run "git reset --quiet --hard"
pop()
stash()
stash("mine\n", "")
stash()
run "echo staged >other; git add other"
each("stash_apply", {})
pop()
