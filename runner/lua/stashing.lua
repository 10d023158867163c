-- Putting changes aside.
local core, layer = ...
local Repository = layer.Repository

-- repo:stash([{name=, email=}]) -> id: puts the changes of tracked files aside. What is only in the
-- index would not come back, so that it is refused.
function Repository:stash(who)
  layer.refuse_conflicts(self, "stash")
  for _, path in ipairs(layer.half_staged(self)) do
    if not core.call("diff_file_in_index", self.path, path, 0).success then
      layer.refuse("stash", "what is staged of '%s' is not in the working tree, and would not come "
                   .. "back: commit it, or unstage it", path)
    end
  end
  local before = layer.find_commit(self, "refs/stash")
  local name, email = layer.identity(self, who)
  local result = layer.call("stash", self.path, name, email)
  local after = layer.find_commit(self, "refs/stash")
  if after == before then layer.fail("stash", result, "there is nothing to stash") end
  return after
end

-- Files that have local changes are passed over without a word, so that nothing may be changed
-- where the stash has changes.
local function refuse_in_the_way(repo)
  local changed = {}
  for entry in repo:status() do changed[entry.path] = true end
  for file in repo:files("refs/stash^1", "refs/stash") do
    if changed[file.path] then
      layer.refuse("unstash", "'%s' has changes of its own: commit them first", file.path)
    end
  end
end

-- What the stash holds in its index alone is not applied.
local function refuse_only_staged(repo)
  local is_in_tree = {}
  for file in repo:files("refs/stash^1", "refs/stash") do is_in_tree[file.path] = true end
  for file in repo:files("refs/stash^1", "refs/stash^2") do
    if not is_in_tree[file.path] then
      layer.refuse("unstash", "the stash has '%s' in its index alone: take it out with git show "
                   .. "'stash@{0}^2:%s'", file.path, file.path)
    end
  end
end

-- repo:unstash() -> {state=, files=}: applies the latest stash. It is dropped when all of it was
-- applied ("applied"), and kept when files have conflicts ("conflicts").
function Repository:unstash()
  local id = layer.find_commit(self, "refs/stash") or layer.refuse("unstash", "nothing is stashed")
  layer.refuse_conflicts(self, "unstash")
  refuse_in_the_way(self)
  refuse_only_staged(self)
  layer.call("stash_apply", self.path, 0)
  local files = layer.conflicts(self)
  if files[1] then return { state = "conflicts", files = files } end
  if layer.find_commit(self, "refs/stash") ~= id then
    layer.refuse("unstash", "another program has stashed meanwhile: both entries are kept")
  end
  layer.call("stash_drop", self.path, 0)
  return { state = "applied", files = {} }
end
