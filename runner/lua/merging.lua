-- Merges, and what is like one.
local core, layer = ...
local Repository = layer.Repository

-- A merge that git has in progress, or conflicts, would be lost in a second merge.
function layer.refuse_unfinished(repo, action)
  layer.refuse_conflicts(repo, action)
  if layer.find_commit(repo, "MERGE_HEAD") then
    layer.refuse(action, "a merge of git's is in progress: conclude it with `git commit` first")
  end
  if layer.rebase_state(repo) then
    layer.refuse(action, "a rebase is in progress: repo:continue(), repo:skip() or repo:abort()")
  end
end

-- Remembers that a merge has left conflicts, so that the next commit concludes it.
function layer.conflicted(repo, other)
  repo.merging = { head = layer.find_commit(repo, "HEAD"), other = other }
  return { state = "conflicts", files = layer.conflicts(repo) }
end

-- repo:merge(branch, [{name=, email=}]) -> {state=, files=}: a branch, here or of the remote. The
-- state is "merged", "fast-forward", "up to date" or "conflicts"; with conflicts the files are
-- those that have them: edit and stage them, and repo:commit makes the merge commit.
function Repository:merge(branch, who)
  local is_local = layer.has_ref(self, branch, "branch")
  if not is_local and not layer.has_ref(self, branch, "remote branch") then
    self:resolve(branch)
    layer.refuse("merge", "'%s' is no branch, and only branches are merged", branch)
  end
  layer.refuse_hidden(self, branch, "merge")
  layer.refuse_unfinished(self, "merge")
  local name, email = layer.identity(self, who)
  local before = self:resolve("HEAD")
  local other = self:resolve((is_local and "refs/heads/" or "refs/remotes/") .. branch)
  local result = core.call("merge_branch", self.path, branch, name, email, is_local and 0 or 1)
  local after = self:resolve("HEAD")
  if result.code == -2 then return layer.conflicted(self, other) end
  if result.code == 1 then return { state = "up to date", files = {} } end
  -- A fast-forward leaves the return code alone, and so does a failure.
  if result.code == "unchanged" and after == other then return { state = "fast-forward", files = {} } end
  if result.code == 0 and after ~= before then return { state = "merged", files = {} } end
  layer.fail("merge_branch", result)
end
