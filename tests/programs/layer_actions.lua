-- What is done to a repository by the methods of its object.
local open, init, clone = git.open, git.init, git.clone
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))
local it = open(repo)
local function fails(name, ...)
  local is_done, error = pcall(it[name], it, ...)
  print(name .. ": " .. (is_done and "DONE" or tostring(error)))
  return error
end
local function outcome(answer) print(answer.state, table.concat(answer.files, " ")) end
local state = "git status --short --branch; git log -1 --format='%s (%an) %P'"

-- Staging takes files, folders or everything; a commit is one that HEAD shows.
fails("commit", "too early")
write(".gitignore", "*.tmp\n")
run "mkdir -p folder; touch folder/a folder/b a.tmp 'st*r' star"
it:stage "folder/"
it:stage { "st*r", ".gitignore" }
it:unstage "folder/b"
print(#it:commit("start", { name = "Ada", email = "ada@x" }), it:resolve("HEAD~0") == it:resolve("main"))
show(state)
fails("commit", "nothing")
fails("stage", "none")
run "rm -r folder; echo x >'st*r'"
it:stage { "folder", "st*r", "a.tmp" }
it:unstage "a.tmp"
it:stage "."
it:unstage "st*r"
show "git status --short"
run "touch .git/refs/heads/main.lock"
local error = fails("commit", "locked")
print(error["function"], error.code, #error.log, error.message)
run "rm .git/refs/heads/main.lock"
it:stage()
it:commit "second"

-- Branches. What would leave HEAD in the air or lose what is staged is refused.
it:branch("topic", "HEAD~1")
run "git tag v1; git tag -a -m note noted; git update-ref refs/remotes/origin/far main; git branch both; git tag both"
for _, name in ipairs { "v1", "HEAD~1", "none", "both" } do fails("checkout", name) end
it:checkout "far"
it:checkout "topic"
fails("branch", "topic")
it:branch("topic2", "noted")
write("star", "staged\n")
it:stage "star"
write("star", "changed\n")
fails("checkout", "main")
it:reset("HEAD", "hard")
fails("reset", "HEAD", "harder")
for _, name in ipairs { "stage", "fetch", "stash" } do fails(name, 1) end
fails("delete_branch", "topic")
fails("delete_branch", "none")
print(it:delete_branch("origin/far", { remote = true }) == it:delete_branch("topic2"))

-- Merges: each state, and failures that the code alone does not tell.
outcome(it:merge "main")
outcome(it:merge "main")
commit("ours", { star = "ours\n" })
run "git branch stale main; git switch -q main"
commit("theirs", { star = "theirs\n", new = "new\n" })
for _, name in ipairs { "v1", "none", "both" } do fails("merge", name) end
run "git switch -q --detach"
fails("merge", "topic")
run "git switch -q main"
write("star", "mine\n")
fails("merge", "topic")
run "git checkout -q star"
outcome(it:merge "topic")
for _, name in ipairs { "commit", "checkout", "stash" } do fails(name, "main") end
fails("merge", "topic")
it:stage()
write("star", "both\n")
it:stage "star"
it:commit("concluded", { name = "Ada", email = "ada@x" })
show(state)
run "git switch -q -c side HEAD~1"
commit("side", { side = "side\n" })
run "git switch -q main"
outcome(it:merge "side")

-- A stash leaves the list only when all of it was applied.
fails("stash")
fails("unstash")
write("star", "only staged\n")
run "git add star; git show HEAD:star >star"
fails("stash")
write("star", "half\n")
it:unstage()
it:stash()
write("star", "in the way\n")
fails("unstash")
it:stage()
it:commit "in the way"
outcome(it:unstash())
show "git stash list | wc -l"
run "git reset -q --hard HEAD~1"
outcome(it:unstash())
show "git stash list | wc -l; git status --short"
run "echo staged >new; git add new; git show HEAD:new >new; git stash -q; git checkout -q ."
fails("unstash")
run "git stash drop -q"

-- Rebases: what is staged is committed before they go on.
run "git switch -q -c base v1"
commit("base", { star = "base\n" })
run "git switch -q -c work v1"
commit("one", { star = "one\n" })
commit("two", { two = "two\n" })
outcome(it:rebase "v1")
fails("continue")
outcome(it:rebase "base")
for _, name in ipairs { "continue", "merge", "reset" } do fails(name, "base", "hard") end
write("star", "resolved\n")
it:stage()
write("star", "and changed\n")
fails("continue")
write("star", "resolved\n")
write("two", "in the way\n")
fails("continue")
run "rm two"
it = open(repo)
outcome(it:continue())
show("git log --format=%s base..; " .. state)
local done = it:resolve "work"
print(it:reset("HEAD~1", "soft") == it:resolve(done .. "~1"), it:reset(done) == done)
run "git switch -q -c again v1"
commit("again", { star = "resolved\n" })
commit("more", { star = "more\n" })
local tip = it:resolve "HEAD"
outcome(it:rebase "work")
fails("continue")
print(it:abort() == tip)
outcome(it:rebase "work")
outcome(it:skip())
print(it:resolve "again~1" == it:resolve "work")

-- Two clones of one repository.
run "git switch -q main; git clone -q --bare . ../remote.git"
local ada, ben = clone(folder .. "/remote.git", folder .. "/ada"), clone(folder .. "/remote.git", folder .. "/ben")
it = init(folder .. "/fresh", { url = folder .. "/remote.git" })
for _, name in ipairs { "fetch", "pull", "push" } do fails(name) end
print(pcall(clone, folder .. "/none", folder .. "/nowhere"))
local function commit_in(where, text)
  assert(io.open(where.path .. "/star", "w")):write(text):close()
  where:stage()
  where:commit(text)
end
it = ben
commit_in(ada, "ada\n")
print(ada:push() == ada:resolve "HEAD")
commit_in(ben, "ben\n")
fails("push")
outcome(ben:pull())
fails("pull")
ben:stage()
ben:commit "both"
ben:push()
outcome(ada:pull())
outcome(ada:pull())
it = ada
ada:branch "local"
ada:checkout "local"
fails("pull")
ada:fetch { refspec = "refs/heads/main:refs/remotes/origin/copy" }
print(ada:resolve "origin/copy" == ben:resolve "HEAD")
