-- Commits, as git shows them.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local function do_commit(reference, ...)
  git.do_commit(repo, reference, "Me é", "me@example.org", "A message\n\n%s\n", ...)
end

-- The index is committed, and nothing else; the reference moves, and no other.
run "echo staged >a; git add a; echo changed since >a"
do_commit "HEAD"
do_commit "HEAD"
show "git log --format='%H < %P|%an|%ae|%cn|%ce|%B' HEAD; git show HEAD:a; git status --short"
run "git rm --quiet --cached a"
do_commit "refs/heads/topic"
show "git log --format='%H < %P %T' topic; git ls-tree topic; git rev-parse main; git cat-file commit topic | grep UTF"

-- A second parent is given by its whole id; the first is still the reference's target. Without
-- one, libgit2 makes a commit that has no parent at all.
run "git reset --quiet"
local second = run "git rev-parse topic"
for _, parent in ipairs { second, "", run "git rev-parse HEAD:a", second:sub(1, 12) } do do_commit("HEAD", parent) end
do_commit("refs/heads/new", second)
show "git rev-list --max-count=1 --parents main; git log --format='no parent: %P' new"

-- What cannot be committed leaves the reference alone.
git.do_commit(repo, "HEAD", "", "me@example.org", "no name")
run "git tag of-a-file HEAD:a; for word in ours theirs; do echo $word >a; git commit --quiet --all --message $word; done"
do_commit "refs/tags/of-a-file"
run "git read-tree -m HEAD~2 HEAD HEAD~"
do_commit "HEAD"
show "git log --max-count=1 --format=%s"
