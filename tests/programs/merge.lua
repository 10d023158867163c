-- Merges, beside those that git makes.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local function merge(branch, kind, name)
  git.merge_branch(repo, branch, name or "Merger", "merge@example.org", kind or 0)
  show "git log -1 --format=%s; git status --short --branch 2>/dev/null; ls .git | grep MERGE"
end
-- Commits to a branch and goes back to main.
local function commit_on(branch, files)
  run("git switch --quiet --create " .. branch)
  commit("on " .. branch, files)
  run "git switch --quiet main"
end

-- HEAD must be on a branch with a commit.
merge "topic"
local text = "one\ntwo\nthree\nfour\nfive\nsix\nseven\n"
commit("base", { both = text, gone = "x", ["old-name"] = text .. text, kept = "kept\n" })
run "git switch --quiet --detach"
merge "main"
run "git switch --quiet main"

-- A branch that is ahead is fast-forwarded with the files. This leaves the return code alone.
commit_on("ahead", { ahead = "ahead\n" })
write("ahead", "mine\n")
merge "ahead"
run "rm ahead"
for _ = 1, 2 do merge "ahead" end

-- Two sides are merged as git does it, renames included. Changes elsewhere stay.
commit_on("feature/ветка", { both = text .. "eight\n", gone = false, ["old-name"] = false, ["new-name"] = text .. text })
commit("ours", { both = "ONE\n" .. text:sub(5), ours = "ours", ["old-name"] = "zero\n" .. text .. text })
run "git branch before; git merge --quiet --no-edit feature/ветка; git branch merged-by-git; git reset --quiet --hard before"
write("kept", "mine, and longer\n")
merge "feature/ветка"
show [[git diff --stat merged-by-git HEAD; git log -1 --format='%an %ae %cn %ce%n%B'
git rev-parse HEAD^@ before feature/ветка; git cat-file commit HEAD | grep UTF]]

-- Work in the way is spared. The kind of the branch is the user's to say.
run "git checkout --quiet kept"
commit_on("topic", { kept = "theirs\n" })
commit "ours again"
write("kept", "mine\n")
run "git update-ref refs/remotes/origin/topic topic"
merge("origin/topic", 1)
run "git checkout --quiet kept"
merge("origin/topic", 2)
merge("topic", 1)
merge("origin/topic", 1, "")
run "git reset --quiet --hard"
merge("origin/topic", 1)

-- Each conflict is told, by the ancestor's path where there is one. No merge stays in progress.
commit("base", { changed = "base\n", ["gone-here"] = "base\n", ["gone-there"] = "base\n", renamed = text .. "!" })
commit_on("other", { changed = "theirs\n", added = "theirs\n", ["gone-here"] = "theirs\n", ["gone-there"] = false,
  renamed = false, ["their-name"] = text .. "!" })
commit("ours", { changed = "ours\n", added = "ours\n", ["gone-here"] = false, ["gone-there"] = "ours\n",
  renamed = false, ["our-name"] = text .. "!" })
merge "other"
show "git ls-files --unmerged 2>/dev/null; cat changed gone-here gone-there"

-- The markers show the ancestor where the configuration asks for it.
run "git reset --quiet --hard; git config merge.conflictStyle diff3"
merge "other"
show "cat changed"
