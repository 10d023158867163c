-- Fetch, pull and push whatever the state of both sides, with a remote on this machine.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local function elsewhere(script)
  run("cd ../other; git pull --quiet; " .. script .. "; git add --all; git commit --quiet -m theirs; git push --quiet")
end
local function state()
  show "git log -1 --format='%s%n%an %ae %cn %ce'; git status --short --branch; ls .git | grep -e MERGE -e lock"
end

for _, name in ipairs { "do_fetch", "do_pull", "do_push" } do git[name] "/none" end
commit("first", { file = "first\n" })
git.do_fetch(repo)
git.do_pull(repo)
git.do_push(repo)
run("git clone --quiet --bare . ../bare; git remote add origin '" .. folder .. "/bare'; git clone --quiet ../bare ../other")
git.do_pull(repo)
run "git branch --quiet --set-upstream-to origin/main"

-- Their commit and ours are merged, once nothing that is not committed is in the way.
elsewhere "echo second >file"
commit("ours", { mine = "mine\n" })
write("file", "not committed\n")
git.do_pull(repo)
state()
run "git checkout --quiet file"
git.do_pull(repo)
state()
show "git rev-list --parents -1 HEAD; git rev-parse HEAD~ origin/main; cat file"

-- What is committed after a conflict has one parent, so the same conflict comes back until our side
-- says what theirs says.
run "git config merge.conflictStyle diff3"
elsewhere "echo theirs >file"
commit("ours", { file = "ours\n" })
git.do_pull(repo)
show "cat file"
state()
commit("both", { file = "both\n" })
git.do_pull(repo)
commit("theirs after all", { file = "theirs\n" })
git.do_pull(repo)
git.do_push(repo)
state()
show "git ls-remote origin main; git rev-parse HEAD"

-- A file that only they rename takes what we write.
elsewhere "git mv mine theirs"
commit("ours", { mine = "mine\nmore\n" })
git.do_pull(repo)
show "cat theirs"

-- One refspec; what the remote lacks is no error.
for _, refspec in ipairs { "refs/heads/main:refs/heads/copy", "refs/heads/none:refs/heads/none", "::", "" } do
  git.do_fetch(repo, " ", " ", " ", " ", refspec)
end
show "git rev-parse copy origin/main"

-- Nothing to merge, or nowhere to put it. The entry that the fetch leaves is not taken again.
elsewhere "echo again >file"
for _, setup in ipairs { "switch --create only-here", "checkout --detach", "switch --orphan unborn" } do
  run("git " .. setup .. " --quiet")
  git.do_fetch(repo)
  git.do_pull(repo)
  git.do_push(repo)
  show "git for-each-ref --format='%(refname) %(contents:subject)'; git ls-remote --refs origin"
end
