-- The history of a repository, beside the one that git tells.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local attributes = { "ID", "PARENT_IDS", "CHILDREN_IDS", "STASH", "IN_CURRENT_BRANCH", "AUTHOR", "EMAIL", "COMMITTER",
  "COMMITTER_EMAIL", "TIME", "MESSAGE" }

-- Reads the whole history up to the first commit of which git tells something else. Git's date order,
-- no parent before all its children and else the newest first, is the module's too.
local function compare(count)
  local number, children, in_branch, stash = 0, {}, run "git rev-list HEAD", run "git rev-parse --verify -q refs/stash || true"
  local history = run("git log --date-order --branches --remotes --tags --format='%H%x01%P%x01%an|%ae|%cn|%ce|"
    .. (" "):rep(10) .. "%ct|%B%x02' HEAD " .. stash)
  for id, parents, texts in history:gmatch "(%x+)\1([%x ]*)\1([^\2]*)\2" do
    number = number + 1
    for parent in parents:gmatch "%x+" do children[parent] = (children[parent] or "") .. "," .. id end
    local expected = table.concat({ id, (parents:gsub(" ", ",")), (children[id] or ","):sub(2),
      id == stash and "TRUE" or "FALSE", in_branch:find(id) and "TRUE" or "FALSE", texts }, "|")
    local told = {}
    for i, name in ipairs(attributes) do told[i] = select(2, untold.get_commit_attribute(number, repo, name)) end
    told = table.concat(told, "|")
    if told ~= expected then return print("told: " .. told .. "\ngit:  " .. expected) end
  end
  print(number == count and "git tells the same of each" or "git tells " .. number .. " commits")
end

-- Branches, merges, tags, a remote-tracking branch, a stash, and commits that HEAD does not reach.
-- Each commit has a time of its own, so that there is only one order.
run [[
time=1700000000
commit() {
  time=$((time + ${2:-10})); export GIT_COMMITTER_DATE="$time +0130"
  git commit --quiet --allow-empty --author "Än Äuthor <an@äuthor.example>" --message "$1"
}
commit root
for branch in left right third; do git switch --quiet --create $branch main; commit one; commit "more

\"lines\" of %s
	text"; done
git switch --quiet main; commit "on main" -25
GIT_COMMITTER_DATE="1700000200 +0130" git merge --quiet --no-edit --no-ff left
GIT_COMMITTER_DATE="1700000210 +0130" git merge --quiet --no-edit --no-ff right third
git switch --quiet --detach left; commit "older than its parent, only tagged" -50; git tag --annotate --message t annotated
git switch --quiet --detach third; commit "only origin has it" 300; git update-ref refs/remotes/origin/topic HEAD
git switch --quiet main; echo staged >file; git add file; git tag of-a-file :file; unset GIT_COMMITTER_DATE
git stash --quiet]]
compare(git.get_commit_log(repo))
run "git stash drop --quiet; git switch --quiet --detach third~; git commit --quiet --allow-empty --message detached"
compare(git.get_commit_log(repo))

-- Attributes have any spelling, and commits are counted from 1.
for _, name in ipairs { "author", "Email   ", "IDS", "GRAPH_COLUMN" } do git.get_commit_attribute(2, repo, name) end
for _, number in ipairs { 0, 0 / 0, -1, 14, 13.9, 1e300 } do git.get_commit_attribute(number, repo, "MESSAGE") end

-- A history stays until it is freed or replaced. What cannot be walked leaves the earlier one.
local other = folder .. "/other"
run "git init --quiet ../other; git -C ../other commit --quiet --allow-empty --message other"
git.get_commit_log(other)
for _, path in ipairs { repo, other .. "  " } do git.get_commit_attribute(1, path, "MESSAGE") end
run "git -C ../other commit --quiet --allow-empty --message newer; git symbolic-ref HEAD refs/heads/many"
for _, path in ipairs { other, repo, folder } do git.get_commit_log(path) end
for _, path in ipairs { repo, other } do git.get_commit_attribute(1, path, "MESSAGE") end
for _, path in ipairs { other, repo, repo } do
  git.free_commit_objects(path)
  git.get_commit_attribute(1, path, "ID")
end

-- A commit may have thousands of children, and thousands of parents, which all wait at one time.
run [[
commit() { printf 'commit refs/heads/many\nmark :%s\ncommitter A <a@example.org> %s +0000\ndata 4\ntext\n' $1 $((1000000000 + $1)); }
{ commit 1; for mark in $(seq 2 1701); do commit $mark; echo from :1; done; commit 1702; echo from :1; seq -f 'merge :%.0f' 2 1701
} | git fast-import --quiet]]
compare(git.get_commit_log(repo))
git.free_commit_objects(repo)
