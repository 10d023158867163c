-- Rebases, beside those that git makes.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local function rebase(branch, onto, name)
  git.rebase(repo, branch, onto, name or "Rebaser", "rebase@example.org")
  show "git status --short --branch; git log --format=%s | paste -sd' '; ls .git | grep rebase"
end
local function operate(word, branch, name)
  git.rebase_operation(repo, word, branch, name or "Rebaser", "rebase@example.org")
  show "git status --short --branch; git log --format=%s | paste -sd' '"
end

run [[
commit() { echo $2 >$1; git add $1; git commit --quiet --message "$3" --author "An Author <an@example.org>" --date 2001-02-03T04:05:06; }
commit file base base; git switch --quiet --create topic
commit a 1 one; git branch clash; commit b 2 "two

with a body"; commit c 3 three
git switch --quiet clash; commit file 2 two; commit c 3 three; git switch --quiet main
echo main >new; git add new; commit file main main]]
local main, topic, clash = run "git rev-parse main", run "git rev-parse topic", run "git rev-parse clash"

-- Authors, their dates and the messages stay. The committer is the one given.
run "git branch expected topic; git -c user.name=Rebaser rebase --quiet main expected; git switch --quiet topic"
rebase(topic, main)
show [[git log --format='%an %ae %cn %ce %B' --reverse main..topic
for branch in topic expected; do git log --format='%T %an %ae %ad %cn %B' $branch | git hash-object --stdin; done]]

-- The branch that HEAD is on is moved, to the commit itself when there is nothing to apply, but not
-- away from commits of its own; without a branch the rebase fails in the end.
rebase(main, main)
run "git switch --quiet --create behind main~1"
rebase(main, main)
run "git switch --quiet --create elsewhere main"
rebase(topic, main)
run "git switch --quiet --detach main"
rebase(topic, main)

-- What cannot be started leaves everything as it was. Ids are whole.
run "git switch --quiet clash"
for _, id in ipairs { "topic", main:sub(1, 12), run "git rev-parse HEAD:a" } do
  rebase(id, main)
  rebase(clash, id)
end
rebase(("1"):rep(40), "neither")
rebase(clash, main, "")
operate("ABORT", "clash")
for _, name in ipairs { "a", "new" } do
  write(name, "mine\n")
  rebase(clash, main)
  show("cat " .. name .. "; git reset --quiet --hard; rm -f new")
end

-- A commit that conflicts stops the rebase until the user says how to go on. (A resolution must be
-- committed. With one that is only staged, or with none, CONTINUE fails and drops nothing.)
for _ = 1, 2 do rebase(clash, main) end
operate("restart", "clash")
operate("ABORT", "clash", "")
local stopped = repo
local staged = "echo resolved >file; git add file"
local committed = staged .. "; git commit --quiet --message resolved"
for number, row in ipairs {
  { "skip", "clash", "true" }, { "CONTINUE", "clash", committed }, { "Continue", "clash", staged },
  { "CONTINUE", "clash", "true" }, { "Finish  ", "clash", committed }, { "abort", "clash", committed },
  { "ABORT", "clash", "echo refs/heads/clash >.git/rebase-merge/head-name" }, { "ABORT", "none", "true" },
  { "ABORT", "topic", "true" },
} do
  repo = folder .. "/" .. number
  host.run("cp", "-R", stopped, repo)
  show(row[3])
  operate(row[1], row[2])
end

-- Undoing what cannot be completed takes the files to the commit to rebase. Where that would
-- overwrite local files, the rebase stays in progress. It is not asked when all goes well.
repo = stopped
run "rm -rf .git/rebase-merge; git switch --quiet --force main; echo mine >a"
rebase(topic, main)
show "cat a; rm -rf a .git/rebase-merge; git switch --quiet --force main; git rm --quiet file; git commit -qm 'no file'; echo mine >file"
rebase(topic, run "git rev-parse main")
show "cat file"
