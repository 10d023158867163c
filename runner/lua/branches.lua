-- Branches, and where HEAD is.
local core, layer = ...
local Repository = layer.Repository

-- repo:branch(name, [start], [{force = true}]) -> id: makes a branch, at HEAD when no start is given.
function Repository:branch(name, start, options)
  local id = self:resolve(start or "HEAD")
  layer.call("create_branch", self.path, id, name, layer.options(options).force and 1 or 0)
  return id
end

-- repo:delete_branch(name, [{remote = true}]) -> the id that it had.
function Repository:delete_branch(name, options)
  local is_remote = layer.options(options).remote
  local start = is_remote and "refs/remotes/" or "refs/heads/"
  local id = layer.find_commit(self, start .. name)
  layer.call("delete_branch", self.path, name, is_remote and 1 or 0)
  return id
end

-- A tag of the same name hides a branch from the functions that take names.
function layer.refuse_hidden(repo, name, action)
  if layer.has_ref(repo, name, "tag") then
    layer.refuse(action, "there are a branch and a tag '%s': rename one of them", name)
  end
end

-- The files that are staged and have changed since. What is staged of them is nowhere else.
function layer.half_staged(repo)
  local staged, paths = {}, {}
  for entry in repo:status() do
    if entry.staged then staged[entry.path] = true end
  end
  for entry in repo:status { staged = false } do
    if staged[entry.path] then paths[#paths + 1] = entry.path end
  end
  return paths
end

-- repo:checkout(name): a branch. One that only the remote has is made here.
function Repository:checkout(name)
  layer.refuse_unfinished(self, "checkout")
  if not layer.has_ref(self, name, "branch") then
    if layer.has_ref(self, "origin/" .. name, "remote branch") then
      self:branch(name, "refs/remotes/origin/" .. name)
    elseif layer.find_commit(self, name) then
      layer.refuse("checkout", "'%s' is no branch: make one there with repo:branch(name, \"%s\")",
                   name, name)
    else
      layer.refuse("checkout", "there is no branch '%s'", name)
    end
  end
  layer.refuse_hidden(self, name, "checkout")
  local half = layer.half_staged(self)[1]
  if half then
    layer.refuse("checkout", "'%s' is staged and has changed since, and what is staged would be "
                 .. "lost: commit it first", half)
  end
  local result = layer.call("checkout_branch", self.path, name)
  if layer.current_branch(self) ~= name then
    layer.fail("checkout_branch", result, "HEAD is not on the branch")
  end
end

local modes = { soft = "SOFT", mixed = "MIXED", hard = "HARD" }

-- repo:reset(commit, [mode]) -> id: moves the current branch. "soft" leaves index and working tree
-- as they are, "mixed" unstages everything, "hard" also overwrites local changes.
function Repository:reset(commit, mode)
  local word = modes[mode or "mixed"]
  if not word then layer.refuse("reset", "there is no mode '%s': soft, mixed or hard", mode) end
  if layer.rebase_state(self) then
    layer.refuse("reset", "a rebase is in progress, and would be left half done: repo:abort() or "
                 .. "repo:skip()")
  end
  local id = self:resolve(commit)
  local result = layer.call("reset_to_commit", self.path, id, word)
  if layer.find_commit(self, "HEAD") ~= id then
    layer.fail("reset_to_commit", result, "HEAD has not moved")
  end
  self.merging = nil
  return id
end
